#pragma once

#include "platforms/posix/CodePage.h"
#include "q32Base/platform/CqFileService.h"

#include <chrono>
#include <memory>
#include <string>

struct CqPosixOptions;

/// Files, directories and disks of the system.
///
/// Backslash and slash are both taken as separators, so a file with a backslash in its own name
/// can't be named. Case counts in names and in search masks. Being "open somewhere else" means what
/// locks of the `flock` kind tell: programs that take none are not seen.
class CqPosixFiles : public CqFileService {
public:
    CqPosixFiles(const CqPosixOptions& options,
                 std::shared_ptr<const q32::posix::CodePage> codePage);

    bool fnGetTempDirectory(std::string& directory) override;
    /// Tells the directory whether it stands or not; `fnUpdateText` makes it.
    bool fnGetConfigDirectory(std::string& directory) override;
    bool fnExists(const char* path) override;
    /// For its owner alone (mode 0700).
    bool fnCreateDirectory(const char* path) override;
    /// Everything but directories, sorted.
    std::vector<std::string> fnFind(const char* mask) override;
    bool fnDelete(const char* name) override;
    bool fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) override;

    bool fnHasWideSpaceQuery() override { return true; }
    /// The file system that holds the path; for an absolute path that does not stand yet, the one
    /// that it would be made on.
    bool fnGetSpace(const char* path, CqDiskSpace& space) override;
    /// Counts that do not fit read as all bits set.
    bool fnGetClusters(const char* path, CqDiskClusters& clusters) override;

    std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE& cause) override;

    CQ_FILE_CAUSE fnReplace(const char* from, const char* to) override;
    bool fnReadText(const char* name, std::string& text) override;
    bool fnUpdateText(const char* name,
                      const std::function<bool(std::string& text)>& edit) override;

private:
    std::string fnNative(const char* path) const;

    std::string m_szTempDirectory;
    std::string
        m_szConfigDirectory; ///< native, without a slash at its end; empty when there is none
    std::chrono::milliseconds m_Patience;
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
};
