#pragma once

#include "platforms/posix/Descriptor_p.h"
#include "q32Base/platform/CqFileService.h"

/// A regular file of the system. An open stream holds a lock on the file, shared or, for an
/// exclusive stream, exclusive; so an exclusive stream and any other stream of the same file
/// exclude each other. Programs that don't use such locks aren't noticed.
class CqPosixFileStream : public CqFileStream {
public:
    /// Opens a file by its native path. Null with the cause on failure. A mode that neither reads
    /// nor writes is invalid.
    static std::unique_ptr<CqFileStream> fnOpen(const char* path, const CqFileMode& mode,
                                                CQ_FILE_CAUSE& cause);

    CqPosixFileStream(q32::posix::Descriptor file, const CqFileMode& mode);

    CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) override;
    CQ_FILE_CAUSE fnWrite(const void* buffer, std::size_t count) override;
    CQ_FILE_CAUSE fnSeek(std::uint64_t position) override;
    CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) override;
    CQ_FILE_CAUSE fnClose() override;

    const q32::posix::Descriptor& fnGetFile() const { return m_File; }

private:
    q32::posix::Descriptor m_File;
    CqFileMode m_Mode;
    std::uint64_t m_nPosition = 0;
};
