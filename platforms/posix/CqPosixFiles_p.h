#pragma once

#include "platforms/posix/CodePage_p.h"
#include "q32Base/platform/CqFileService.h"

#include <chrono>
#include <memory>
#include <string>

struct CqPosixOptions;

/// Files, directories and disks of the system.
///
/// Backslash and slash are both separators, so a file with a backslash in its own name can't be
/// accessed. Names and search masks are case-sensitive. A file is "open somewhere else" if it has a
/// lock of the `flock` kind: programs that take none aren't noticed.
class CqPosixFiles : public CqFileService {
public:
    CqPosixFiles(const CqPosixOptions& options,
                 std::shared_ptr<const q32::posix::CodePage> codePage);

    bool fnGetTempDirectory(std::string& directory) override;
    /// Returns the directory whether or not it exists; `fnUpdateText` creates it.
    bool fnGetConfigDirectory(std::string& directory) override;
    bool fnExists(const char* path) override;
    /// Creates it with mode 0700.
    bool fnCreateDirectory(const char* path) override;
    /// Names of everything except directories, sorted.
    std::vector<std::string> fnFind(const char* mask) override;
    bool fnDelete(const char* name) override;
    bool fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) override;

    bool fnHasWideSpaceQuery() override { return true; }
    /// Of the file system that holds the path; for an absolute path that doesn't exist yet, the one
    /// on which it would be created.
    bool fnGetSpace(const char* path, CqDiskSpace& space) override;
    /// Counts that don't fit are returned with all bits set.
    bool fnGetClusters(const char* path, CqDiskClusters& clusters) override;

    std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE& cause) override;

    std::unique_ptr<CqFileReplacement> fnOpenReplacement(const char* name,
                                                         CQ_FILE_CAUSE& cause) override;
    bool fnReadText(const char* name, std::string& text) override;
    bool fnUpdateText(const char* name,
                      const std::function<bool(std::string& text)>& edit) override;

private:
    std::string fnNative(const char* path) const;

    std::string m_szTempDirectory;
    std::string m_szConfigDirectory; ///< native, without a trailing slash; empty when there is none
    std::chrono::milliseconds m_Patience;
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
};
