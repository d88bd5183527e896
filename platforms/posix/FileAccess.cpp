#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/FileSizeSignal_p.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace q32::posix {

namespace {

// The most that the system transfers in one call.
constexpr std::size_t kMaxTransfer = 0x40000000;

} // namespace

CQ_FILE_CAUSE fnFileCause(int error) {
    switch (error) {
    case 0:
        return FILE_CAUSE_NONE;
    case ENOENT:
        return FILE_CAUSE_NOT_FOUND;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
        return FILE_CAUSE_BAD_PATH;
    case EMFILE:
    case ENFILE:
        return FILE_CAUSE_TOO_MANY_OPEN;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EEXIST:
        return FILE_CAUSE_ACCESS_DENIED;
    case EBADF:
        return FILE_CAUSE_INVALID;
    case EIO:
        return FILE_CAUSE_HARD_IO;
    case EWOULDBLOCK:
    case ETXTBSY:
        return FILE_CAUSE_SHARING_VIOLATION;
    case ENOSPC:
    case EDQUOT:
        return FILE_CAUSE_DISK_FULL;
    default:
        return FILE_CAUSE_GENERIC;
    }
}

Descriptor fnOpenRegular(const char* path, int flags, mode_t mode) {
    Descriptor file(
        fnRetry([&] { return ::open(path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode); }));
    struct stat facts {};
    if (!file || ::fstat(file.fnGet(), &facts) != 0)
        return {};
    if (!S_ISREG(facts.st_mode)) {
        errno = EACCES;
        return {};
    }
    return file;
}

bool fnTryLock(const Descriptor& file, int operation) {
    return fnRetry([&] { return ::flock(file.fnGet(), operation | LOCK_NB); }) == 0;
}

bool fnIsNameOf(int directory, const char* name, const Descriptor& file) {
    struct stat named {};
    struct stat open {};
    if (::fstatat(directory, name, &named, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::fstat(file.fnGet(), &open) != 0)
        return false;
    const bool same =
        S_ISREG(named.st_mode) && named.st_dev == open.st_dev && named.st_ino == open.st_ino;
    if (!same)
        errno = ESTALE;
    return same;
}

bool fnRemoveUnheld(int directory, const char* name) {
    struct stat facts {};
    if (::fstatat(directory, name, &facts, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    Descriptor file;
    // Only a regular file can have our lock; anything else is just unlinked.
    if (S_ISREG(facts.st_mode)) {
        file = Descriptor(fnRetry([&] {
            return ::openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        }));
        if (!file || (!fnTryLock(file, LOCK_EX) && errno == EWOULDBLOCK))
            return false;
    }
    return ::unlinkat(directory, name, 0) == 0;
}

std::optional<std::size_t> fnReadAt(const Descriptor& file, void* buffer, std::size_t count,
                                    std::uint64_t offset) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = fnRetry([&] {
            return ::pread(file.fnGet(), static_cast<char*>(buffer) + done,
                           std::min(count - done, kMaxTransfer), static_cast<off_t>(offset + done));
        });
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

bool fnWriteAt(const Descriptor& file, const void* buffer, std::size_t count,
               std::uint64_t offset) {
    const FileSizeSignal guard;
    std::size_t done = 0;
    while (done < count) {
        const ssize_t put = fnRetry([&] {
            return ::pwrite(file.fnGet(), static_cast<const char*>(buffer) + done,
                            std::min(count - done, kMaxTransfer),
                            static_cast<off_t>(offset + done));
        });
        if (put < 0)
            return false;
        done += static_cast<std::size_t>(put);
    }
    return true;
}

std::string fnRandomDigits() {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::uint64_t bits = 0;
    if (fnRetry([&] { return ::getrandom(&bits, sizeof bits, 0); }) != ssize_t{sizeof bits})
        bits =
            static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    std::string digits;
    for (int digit = 0; digit < 16; ++digit, bits >>= 4)
        digits += kDigits[bits & 15];
    return digits;
}

} // namespace q32::posix
