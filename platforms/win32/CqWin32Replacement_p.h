#pragma once

#include "platforms/win32/CqWin32FileStream_p.h"
#include "platforms/win32/ReplaceFile_p.h"
#include "q32Base/platform/CqFileService.h"

#include <memory>
#include <string>

/// A file of the system that is to replace another one. If that is a link, its target is replaced.
class CqWin32Replacement final : public CqFileReplacement {
public:
    /// Begins to replace a file, by its native path. Null with the cause on failure.
    static std::unique_ptr<CqFileReplacement> fnOpen(std::wstring path, CQ_FILE_CAUSE& cause);

    /// @param path  native, with links followed
    explicit CqWin32Replacement(const std::wstring& path);

    CqFileStream& fnGetStream() override { return m_Stream; }
    CQ_FILE_CAUSE fnCommit() override;

private:
    q32::win32::Handle m_New; ///< until the stream has it
    q32::win32::ReplacementFile m_File;
    CqWin32FileStream m_Stream;
};
