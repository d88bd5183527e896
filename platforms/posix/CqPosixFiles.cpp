#include "platforms/posix/CqPosixFiles_p.h"
#include "platforms/posix/CqPosixFileStream_p.h"
#include "platforms/posix/CqPosixOptions.h"
#include "platforms/posix/CqPosixReplacement_p.h"
#include "platforms/posix/Directory_p.h"
#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/Path_p.h"
#include "platforms/posix/TempDirectory_p.h"
#include "platforms/posix/TextFile_p.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <utility>

using namespace q32::posix;
using q32::Descriptor;
using q32::fnRetry;

namespace {

constexpr char kConfigFolder[] = "/q32Base";
constexpr unsigned long kSectorBytes = 512;

/// An environment variable, unless the process is privileged; empty when unset.
std::string fnGetVariable(const char* name) {
    const char* const value = ::secure_getenv(name);
    return value ? value : "";
}

/// The user's home directory; empty when unknown.
std::string fnGetHome() {
    std::string home = fnGetVariable("HOME");
    if (home.starts_with('/'))
        return home;
    std::array<char, 16384> buffer;
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
    return found && found->pw_dir ? found->pw_dir : "";
}

std::string fnChooseTemp(const CqPosixOptions& options, const CodePage& codePage) {
    if (!options.m_szTempDirectory.empty())
        return fnLibraryDirectory(options.m_szTempDirectory);
    const std::string variable = fnGetVariable("TMPDIR");
    return fnChooseTempDirectory(codePage, variable.starts_with('/') ? variable : "",
                                 options.m_Report);
}

std::string fnChooseConfig(const CqPosixOptions& options) {
    if (!options.m_szConfigDirectory.empty())
        return options.m_szConfigDirectory;
    // The XDG base directory rules say to ignore a relative path.
    const std::string variable = fnGetVariable("XDG_CONFIG_HOME");
    if (variable.starts_with('/'))
        return variable + kConfigFolder;
    const std::string home = fnGetHome();
    return home.empty() ? "" : home + "/.config" + kConfigFolder;
}

std::string fnWithoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

/// Reads the file system's data at `path` or, while that is missing, above it. Only an absolute
/// path is followed upward: a missing relative one ("C:/") may be no path of this system.
bool fnGetVolume(std::string path, struct statvfs& facts) {
    while (fnRetry([&] { return ::statvfs(path.c_str(), &facts); }) != 0) {
        if (errno != ENOENT || !path.starts_with('/') || path.size() == 1)
            return false;
        path = fnSplitPath(fnWithoutSlash(std::move(path))).m_Directory;
    }
    return true;
}

std::uint64_t fnBytes(fsblkcnt_t blocks, unsigned long blockBytes) {
    const std::uint64_t limit = UINT64_MAX;
    return blockBytes != 0 && blocks > limit / blockBytes ? limit
                                                          : std::uint64_t{blocks} * blockBytes;
}

std::uint32_t fnNarrow(std::uint64_t count) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, UINT32_MAX));
}

} // namespace

CqPosixFiles::CqPosixFiles(const CqPosixOptions& options, std::shared_ptr<const CodePage> codePage)
    : m_szTempDirectory(fnChooseTemp(options, *codePage)),
      m_szConfigDirectory(fnWithoutSlash(fnNativePath(*codePage, fnChooseConfig(options)))),
      m_Patience(options.m_SettingsPatience), m_pCodePage(std::move(codePage)) {}

std::string CqPosixFiles::fnNative(const char* path) const {
    return fnNativePath(*m_pCodePage, path);
}

bool CqPosixFiles::fnGetTempDirectory(std::string& directory) {
    directory = m_szTempDirectory;
    return true;
}

bool CqPosixFiles::fnGetConfigDirectory(std::string& directory) {
    if (m_szConfigDirectory.empty())
        return false;
    directory = fnLibraryDirectory(m_szConfigDirectory);
    return true;
}

bool CqPosixFiles::fnExists(const char* path) {
    struct stat facts {};
    return ::stat(fnNative(path).c_str(), &facts) == 0;
}

bool CqPosixFiles::fnCreateDirectory(const char* path) {
    return ::mkdir(fnNative(path).c_str(), 0700) == 0;
}

std::vector<std::string> CqPosixFiles::fnFind(const char* mask) {
    const SplitPath split = fnSplitPath(fnNative(mask));
    std::vector<std::string> names = fnListDirectory(split.m_Directory);
    std::erase_if(names, [&](const std::string& name) {
        struct stat facts {};
        return !fnMatches(*m_pCodePage, split.m_Name, name) ||
               ::lstat((split.m_Directory + '/' + name).c_str(), &facts) != 0 ||
               S_ISDIR(facts.st_mode);
    });
    return names;
}

bool CqPosixFiles::fnDelete(const char* name) {
    return fnRemoveUnheld(AT_FDCWD, fnNative(name).c_str());
}

bool CqPosixFiles::fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) {
    const Descriptor file = fnOpenRegular(fnNative(name).c_str(), O_RDONLY);
    struct stat facts {};
    if (!file || ::fstat(file.fnGet(), &facts) != 0)
        return false;
    // Without lock support in the file system, no holder can be detected.
    if (exclusive && !fnTryLock(file, LOCK_EX) && errno == EWOULDBLOCK)
        return false;
    info = {static_cast<std::uint64_t>(facts.st_size), facts.st_mtim.tv_sec};
    return true;
}

bool CqPosixFiles::fnGetSpace(const char* path, CqDiskSpace& space) {
    struct statvfs facts {};
    if (!fnGetVolume(fnNative(path), facts))
        return false;
    space = {fnBytes(facts.f_bavail, facts.f_frsize), fnBytes(facts.f_blocks, facts.f_frsize)};
    return true;
}

bool CqPosixFiles::fnGetClusters(const char* path, CqDiskClusters& clusters) {
    struct statvfs facts {};
    if (!fnGetVolume(fnNative(path), facts))
        return false;
    const unsigned long sector = facts.f_frsize % kSectorBytes == 0 ? kSectorBytes : facts.f_frsize;
    clusters = {fnNarrow(facts.f_frsize / sector), fnNarrow(sector), fnNarrow(facts.f_bavail),
                fnNarrow(facts.f_blocks)};
    return true;
}

std::unique_ptr<CqFileStream> CqPosixFiles::fnOpen(const char* name, const CqFileMode& mode,
                                                   CQ_FILE_CAUSE& cause) {
    return CqPosixFileStream::fnOpen(fnNative(name).c_str(), mode, cause);
}

std::unique_ptr<CqFileReplacement> CqPosixFiles::fnOpenReplacement(const char* name,
                                                                   CQ_FILE_CAUSE& cause) {
    return CqPosixReplacement::fnOpen(fnNative(name), cause);
}

bool CqPosixFiles::fnReadText(const char* name, std::string& text) {
    return fnReadTextFile(fnNative(name), text);
}

bool CqPosixFiles::fnUpdateText(const char* name,
                                const std::function<bool(std::string& text)>& edit) {
    const std::string path = fnNative(name);
    const std::string directory = fnWithoutSlash(fnSplitPath(path).m_Directory);
    if (directory == m_szConfigDirectory && !fnMakeDirectories(directory))
        return false;
    return fnUpdateTextFile(path, m_Patience, edit);
}
