#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/Path_p.h"
#include "platforms/posix/ReplaceFile_p.h"

#include <climits>
#include <fcntl.h>
#include <sys/file.h>

namespace q32::posix {

namespace {

constexpr int kMaxLinks = 40; // the system's own limit

/// Whether the file at `to`, if any, may be replaced; its mode and owner are given to the new file.
bool fnTakeOver(const Descriptor& file, const std::string& to) {
    struct stat old {};
    if (::stat(to.c_str(), &old) != 0)
        return errno == ENOENT;
    if (::faccessat(AT_FDCWD, to.c_str(), W_OK, AT_EACCESS) != 0)
        return false;
    const Descriptor held = fnOpenRegular(to.c_str(), O_WRONLY);
    return held && (fnTryLock(held, LOCK_EX) || errno != EWOULDBLOCK) && fnKeepFacts(file, old);
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

bool fnKeepFacts(const Descriptor& file, const struct stat& old) {
    if (::fchown(file.fnGet(), old.st_uid, old.st_gid) != 0 && errno != EPERM)
        return false;
    return ::fchmod(file.fnGet(), old.st_mode & 07777) == 0;
}

bool fnRename(const std::string& from, const std::string& to) {
    if (::rename(from.c_str(), to.c_str()) != 0)
        return false;
    // From here on every reader sees the new file, so a failure to synchronise the directory is no
    // failure.
    const Descriptor directory(fnRetry([&] {
        return ::open(fnSplitPath(to).m_Directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }));
    if (directory)
        fnRetry([&] { return ::fsync(directory.fnGet()); });
    return true;
}

CQ_FILE_CAUSE fnReplaceFile(const std::string& from, const std::string& to) {
    std::string target = to;
    const Descriptor file = fnOpenRegular(from.c_str(), O_RDWR | O_NOFOLLOW);
    const bool done = file && fnFollow(target) && fnTakeOver(file, target) &&
                      fnRetry([&] { return ::fsync(file.fnGet()); }) == 0 && fnRename(from, target);
    return done ? FILE_CAUSE_NONE : fnFileCause(errno);
}

} // namespace q32::posix
