#pragma once

#include "platforms/posix/CqPosixFileStream_p.h"
#include "platforms/posix/ReplaceFile_p.h"
#include "q32Base/platform/CqFileService.h"

#include <memory>
#include <string>

/// A file of the system that is to replace another one. If that is a link, its target is replaced.
class CqPosixReplacement final : public CqFileReplacement {
public:
    /// Begins to replace a file, by its native path. Null with the cause on failure.
    static std::unique_ptr<CqFileReplacement> fnOpen(std::string path, CQ_FILE_CAUSE& cause);

    /// @param path  native, with links followed
    explicit CqPosixReplacement(const std::string& path);

    CqFileStream& fnGetStream() override { return m_Stream; }
    CQ_FILE_CAUSE fnCommit() override;

private:
    q32::Descriptor m_New; ///< until the stream has it
    q32::posix::ReplacementFile m_File;
    CqPosixFileStream m_Stream;
};
