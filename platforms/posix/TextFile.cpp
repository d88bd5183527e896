#include "platforms/posix/TextFile.h"

#include "platforms/posix/FileAccess.h"
#include "platforms/posix/Path.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace q32::posix {

namespace {

constexpr mode_t kNewTextMode = 0600;
constexpr int kMaxLinks = 40; // as many as the system follows

constexpr std::chrono::milliseconds kLockPause{2};

/// Where a path leads when links at its end are followed, also to a file that is not there yet.
bool fnFollow(std::string& path) {
    for (int link = 0; link < kMaxLinks; ++link) {
        char target[PATH_MAX];
        const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
        if (length < 0)
            return errno == EINVAL || errno == ENOENT; // no link, or nothing yet
        const std::string leadsTo(target, static_cast<std::size_t>(length));
        if (leadsTo.starts_with('/'))
            path = leadsTo;
        else
            path = fnSplitPath(path).m_Directory.append("/").append(leadsTo);
    }
    errno = ELOOP;
    return false;
}

Descriptor fnHoldLock(const std::string& path, std::chrono::milliseconds patience) {
    Descriptor lock =
        fnOpenRegular((path + ".lock").c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, kNewTextMode);
    const auto end = std::chrono::steady_clock::now() + patience;
    while (lock && !fnTryLock(lock, LOCK_EX)) {
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= end)
            return {};
        std::this_thread::sleep_for(kLockPause);
    }
    return lock;
}

/// A file that takes another one's place, or goes again.
class Replacement {
public:
    /// Holding the lock, nobody else is at work on the name: what stands there was left by a killed
    /// process.
    explicit Replacement(const std::string& path) : m_Path(path), m_New(path + ".new") {
        ::unlink(m_New.c_str());
        m_File =
            fnOpenRegular(m_New.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kNewTextMode);
        m_bStands = static_cast<bool>(m_File);
    }
    ~Replacement() {
        const int cause = errno;
        if (m_bStands)
            ::unlink(m_New.c_str());
        errno = cause;
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// Takes over the mode, and the owner as far as the caller may give files away.
    bool fnKeepFacts(const struct stat& old) {
        const int fd = m_File.fnGet();
        if (::fchown(fd, old.st_uid, old.st_gid) != 0 && errno != EPERM)
            return false;
        return ::fchmod(fd, old.st_mode & 07777) == 0;
    }

    bool fnFill(const std::string& text) {
        return fnWriteAt(m_File, text.data(), text.size(), 0) &&
               fnRetry([&] { return ::fsync(m_File.fnGet()); }) == 0 && m_File.fnClose();
    }

    bool fnTakePlace() {
        if (::rename(m_New.c_str(), m_Path.c_str()) != 0)
            return false;
        m_bStands = false;
        // The text is in force for every reader from here on; a directory that can't be written
        // through now would not make that undone.
        const Descriptor directory(fnRetry([&] {
            return ::open(fnSplitPath(m_Path).m_Directory.c_str(),
                          O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        }));
        if (directory)
            fnRetry([&] { return ::fsync(directory.fnGet()); });
        return true;
    }

    explicit operator bool() const { return m_bStands; }

private:
    std::string m_Path;
    std::string m_New;
    Descriptor m_File;
    bool m_bStands = false;
};

} // namespace

bool fnReadTextFile(const std::string& path, std::string& text) {
    const Descriptor file = fnOpenRegular(path.c_str(), O_RDONLY);
    struct stat facts {};
    if (!file || ::fstat(file.fnGet(), &facts) != 0)
        return false;
    if (facts.st_size > off_t{kMaxTextBytes}) {
        errno = EFBIG;
        return false;
    }
    // The length read counts, not the one told: some systems' files tell none.
    std::string read;
    constexpr std::size_t kPart = std::size_t{64} << 10;
    for (std::size_t at = 0; at <= kMaxTextBytes;) {
        read.resize(at + std::max(kPart, static_cast<std::size_t>(facts.st_size) + 1));
        const auto got = fnReadAt(file, read.data() + at, read.size() - at, at);
        if (!got)
            return false;
        at += *got;
        if (at < read.size()) {
            read.resize(at);
            break;
        }
    }
    if (read.size() > kMaxTextBytes) {
        errno = EFBIG;
        return false;
    }
    text = std::move(read);
    return true;
}

bool fnUpdateTextFile(const std::string& path, std::chrono::milliseconds patience,
                      const std::function<bool(std::string& text)>& edit) {
    std::string target = path;
    if (!fnFollow(target))
        return false;
    const Descriptor lock = fnHoldLock(target, patience);
    if (!lock)
        return false;

    std::string text;
    struct stat old {};
    const bool exists = ::stat(target.c_str(), &old) == 0;
    if (exists ? ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0 ||
                     !fnReadTextFile(target, text)
               : errno != ENOENT)
        return false;
    if (!edit(text))
        return true;
    if (text.size() > kMaxTextBytes) {
        errno = EFBIG;
        return false;
    }

    Replacement replacement(target);
    return replacement && (!exists || replacement.fnKeepFacts(old)) && replacement.fnFill(text) &&
           replacement.fnTakePlace();
}

} // namespace q32::posix
