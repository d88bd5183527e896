#pragma once

#include "platforms/win32/Handle_p.h"
#include "q32Base/platform/CqFileService.h"

/// A file of a disk. While a stream is open, nobody deletes or renames the file; while an exclusive
/// one is, nobody else opens it.
class CqWin32FileStream : public CqFileStream {
public:
    /// Opens a file by its native path. Null with the cause on failure. A mode that neither reads
    /// nor writes is invalid.
    static std::unique_ptr<CqFileStream> fnOpen(const wchar_t* path, const CqFileMode& mode,
                                                CQ_FILE_CAUSE& cause);

    CqWin32FileStream(q32::win32::Handle file, const CqFileMode& mode);

    CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) override;
    CQ_FILE_CAUSE fnWrite(const void* buffer, std::size_t count) override;
    CQ_FILE_CAUSE fnSeek(std::uint64_t position) override;
    CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) override;
    CQ_FILE_CAUSE fnClose() override;

    const q32::win32::Handle& fnGetFile() const { return m_File; }

private:
    q32::win32::Handle m_File;
    CqFileMode m_Mode;
    std::uint64_t m_nPosition = 0;
};
