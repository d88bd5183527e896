#pragma once

#include "platforms/win32/CodePage_p.h"
#include "q32Base/platform/CqFileService.h"

#include <chrono>
#include <memory>
#include <string>

struct CqWin32Options;

/// Files, directories and disks of the system.
///
/// Backslash and slash are both separators. Names and search masks are not case-sensitive. A path
/// that is no text of the code page leads nowhere; a file whose name has no form in it isn't found.
/// A file is "open somewhere else" if anybody has it open for reading or writing.
class CqWin32Files : public CqFileService {
public:
    CqWin32Files(const CqWin32Options& options,
                 std::shared_ptr<const q32::win32::CodePage> codePage);

    /// False if the system's directory has no form in the code page.
    bool fnGetTempDirectory(std::string& directory) override;
    /// Returns the directory whether or not it exists; `fnUpdateText` creates it.
    bool fnGetConfigDirectory(std::string& directory) override;
    bool fnExists(const char* path) override;
    /// Creates it with the permissions of any new directory.
    bool fnCreateDirectory(const char* path) override;
    /// Names of everything except directories, sorted. `*` and `?` match the long name only, and
    /// `?` always one character.
    std::vector<std::string> fnFind(const char* mask) override;
    bool fnDelete(const char* name) override;
    bool fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) override;

    bool fnHasWideSpaceQuery() override { return true; }
    bool fnGetSpace(const char* path, CqDiskSpace& space) override;
    bool fnGetClusters(const char* path, CqDiskClusters& clusters) override;

    std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE& cause) override;

    std::unique_ptr<CqFileReplacement> fnOpenReplacement(const char* name,
                                                         CQ_FILE_CAUSE& cause) override;
    bool fnReadText(const char* name, std::string& text) override;
    bool fnUpdateText(const char* name,
                      const std::function<bool(std::string& text)>& edit) override;

private:
    std::wstring fnNative(const char* path) const;

    std::chrono::milliseconds m_Patience;
    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
    // In the library's form, with a backslash at the end; empty when there is none.
    std::string m_szTempDirectory;
    std::string m_szConfigDirectory;
};
