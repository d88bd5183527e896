#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/Path_p.h"
#include "platforms/posix/ReplaceFile_p.h"

#include <algorithm>
#include <climits>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/file.h>

namespace q32::posix {

namespace {

constexpr int kMaxLinks = 40; // the system's own limit
constexpr int kMaxNames = 100;
constexpr mode_t kHiddenMode = 0600;
constexpr mode_t kUsualMode = 0666; // reduced by the umask
constexpr std::string_view kPrefix = ".q32save-";
constexpr std::size_t kDigits = 16;
constexpr std::time_t kAbandonedSeconds = std::time_t{24} * 60 * 60;

std::string fnMakeName() {
    return std::string(kPrefix) + fnRandomDigits();
}

bool fnIsOurName(std::string_view name) {
    return name.size() == kPrefix.size() + kDigits && name.starts_with(kPrefix) &&
           name.find_first_not_of("0123456789abcdef", kPrefix.size()) == std::string_view::npos;
}

Descriptor fnOpenAt(int directory, const char* name, int flags, mode_t mode = 0) {
    return Descriptor(fnRetry([&] {
        return ::openat(directory, name, flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY,
                        mode);
    }));
}

/// Deletes a file of a killed process. Nothing that somebody may still be writing is deleted.
void fnDeleteLeftover(int directory, const char* name) {
    const Descriptor file = fnOpenAt(directory, name, O_RDWR);
    struct stat facts {};
    if (!file || ::fstat(file.fnGet(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
        facts.st_uid != ::geteuid())
        return;
    const bool abandoned =
        fnTryLock(file, LOCK_EX) ||
        (errno != EWOULDBLOCK && std::time(nullptr) - facts.st_mtime > kAbandonedSeconds);
    if (abandoned && fnIsNameOf(directory, name, file))
        ::unlinkat(directory, name, 0);
}

/// Allocates nothing, and fails silently: the new file doesn't depend on it.
void fnSweep(int directory) {
    struct Close {
        void operator()(DIR* list) const { ::closedir(list); }
    };
    Descriptor again(
        fnRetry([&] { return ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    const std::unique_ptr<DIR, Close> list(again ? ::fdopendir(again.fnGet()) : nullptr);
    if (!list)
        return;
    static_cast<void>(again.fnRelease()); // the list closes it
    while (const dirent* const entry = ::readdir(list.get()))
        if (fnIsOurName(entry->d_name))
            fnDeleteLeftover(directory, entry->d_name);
}

/// Gives a file the mode that any new file of the directory gets: by the umask, or by the
/// directory's own rules. Only a file made in the usual way shows that.
bool fnGiveUsualMode(int directory, const Descriptor& file) {
    const std::string name = fnMakeName();
    const Descriptor sample =
        fnOpenAt(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL, kUsualMode);
    if (!sample)
        return false;
    struct stat facts {};
    const bool known = ::fstat(sample.fnGet(), &facts) == 0;
    const int cause = errno;
    ::unlinkat(directory, name.c_str(), 0);
    errno = cause;
    return known && ::fchmod(file.fnGet(), facts.st_mode & 0777) == 0;
}

/// Gives a file the mode of another one and, as far as the caller is permitted, its owner and
/// group. Where these differ, the mode grants nobody more than before.
bool fnKeepFacts(const Descriptor& file, const struct stat& old) {
    mode_t mode = old.st_mode & 07777;
    if (::fchown(file.fnGet(), old.st_uid, old.st_gid) != 0) {
        mode &= 01777;
        if (::fchown(file.fnGet(), static_cast<uid_t>(-1), old.st_gid) != 0)
            mode &= ~mode_t{070} | (mode & 07) << 3;
    }
    return ::fchmod(file.fnGet(), mode) == 0;
}

} // namespace

bool fnFollow(std::string& path) {
    for (int link = 0; link < kMaxLinks; ++link) {
        char target[PATH_MAX];
        const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
        if (length < 0)
            return errno == EINVAL || errno == ENOENT; // not a link, or nothing there yet
        const std::string leadsTo(target, static_cast<std::size_t>(length));
        if (leadsTo.starts_with('/'))
            path = leadsTo;
        else
            path = fnSplitPath(path).m_Directory.append("/").append(leadsTo);
    }
    errno = ELOOP;
    return false;
}

ReplacementFile::ReplacementFile(const std::string& path, Descriptor& file) {
    SplitPath split = fnSplitPath(path);
    m_szTarget = std::move(split.m_Name);
    m_bStands = fnOpenDirectory(split.m_Directory) && fnCreate(file);
}

ReplacementFile::~ReplacementFile() {
    const int cause = errno;
    if (m_bStands)
        ::unlinkat(m_Directory.fnGet(), m_szName.c_str(), 0);
    errno = cause;
}

bool ReplacementFile::fnOpenDirectory(const std::string& path) {
    const auto open = [&](int flags) {
        m_Directory = Descriptor(
            fnRetry([&] { return ::open(path.c_str(), flags | O_DIRECTORY | O_CLOEXEC); }));
        return static_cast<bool>(m_Directory);
    };
    // One that can't be listed can neither be swept nor flushed.
    if (!open(O_RDONLY) && (errno != EACCES || !open(O_PATH)))
        return false;
    fnSweep(m_Directory.fnGet());
    return true;
}

bool ReplacementFile::fnCreate(Descriptor& file) {
    for (int i = 0; i < kMaxNames; ++i) {
        m_szName = fnMakeName();
        Descriptor made =
            fnOpenAt(m_Directory.fnGet(), m_szName.c_str(), O_RDWR | O_CREAT | O_EXCL, kHiddenMode);
        if (!made && errno == EEXIST)
            continue;
        if (!made)
            return false;
        // Before it was locked, another process may have taken it for a leftover.
        if ((fnTryLock(made, LOCK_EX) || errno != EWOULDBLOCK) &&
            fnIsNameOf(m_Directory.fnGet(), m_szName.c_str(), made)) {
            file = std::move(made);
            return true;
        }
        const int cause = errno;
        ::unlinkat(m_Directory.fnGet(), m_szName.c_str(), 0);
        errno = cause;
    }
    return false;
}

bool ReplacementFile::fnTakePlace(const Descriptor& file, std::optional<mode_t> newMode) {
    const int directory = m_Directory.fnGet();
    struct stat old {};
    const bool exists = ::fstatat(directory, fnGetTarget(), &old, AT_SYMLINK_NOFOLLOW) == 0;
    if (!exists && errno != ENOENT)
        return false;
    const bool ready = exists    ? fnKeepFacts(file, old)
                       : newMode ? ::fchmod(file.fnGet(), *newMode) == 0
                                 : fnGiveUsualMode(directory, file);
    if (!ready || fnRetry([&] { return ::fsync(file.fnGet()); }) != 0 ||
        ::renameat(directory, m_szName.c_str(), directory, fnGetTarget()) != 0)
        return false;
    m_bStands = false;
    fnRetry([&] { return ::fsync(directory); });
    return true;
}

} // namespace q32::posix
