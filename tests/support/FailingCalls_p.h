/// @file
/// What the replaced functions share. Their files are compiled without sanitizers: the allocator is
/// called before these have started.
#pragma once

#include "tests/support/FailingCalls.h"

#include <cerrno>
#include <dlfcn.h>

// Each function with its plausible errors. Memory comes first.
#define Q32_CALLS(X)                                                                               \
    X(malloc, ENOMEM)                                                                              \
    X(calloc, ENOMEM)                                                                              \
    X(realloc, ENOMEM)                                                                             \
    X(mmap, ENOMEM, EACCES, ENFILE)                                                                \
    X(munmap, ENOMEM)                                                                              \
    X(mprotect, ENOMEM, EACCES)                                                                    \
    X(madvise, EFAULT, ENOMEM, EIO, EINVAL, EINTR)                                                 \
    X(open, EMFILE, EACCES, ENOSPC, EIO, ENOMEM, EINTR)                                            \
    X(openat, EMFILE, EACCES, ENOSPC, EIO, ENOENT, EINTR)                                          \
    X(close, EIO, ENOSPC, EINTR)                                                                   \
    X(read, EIO, kShortTransfer, EINTR)                                                            \
    X(pread, EIO, kShortTransfer, EINTR)                                                           \
    X(write, EIO, ENOSPC, kShortTransfer, EINTR)                                                   \
    X(pwrite, ENOSPC, kShortTransfer, EIO, EDQUOT, EFBIG, EINTR)                                   \
    X(stat, EACCES, ENOENT, EIO, ENOMEM)                                                           \
    X(lstat, EACCES, ENOENT, EIO, ENOMEM)                                                          \
    X(fstat, EIO, ENOMEM, EOVERFLOW)                                                               \
    X(fstatat, EACCES, ENOENT, EIO, ENOMEM)                                                        \
    X(access, EACCES, EIO)                                                                         \
    X(faccessat, EACCES, EROFS, EIO)                                                               \
    X(statvfs, EIO, EACCES, EINTR)                                                                 \
    X(ftruncate, EIO, EFBIG, EPERM, EINTR)                                                         \
    X(fallocate, ENOSPC, EOPNOTSUPP, EIO, EFBIG, EINTR)                                            \
    X(fsync, EIO, ENOSPC, EDQUOT, EINTR)                                                           \
    X(fdatasync, EIO, ENOSPC, EINTR)                                                               \
    X(sync_file_range, EIO, ENOSPC)                                                                \
    X(posix_fadvise, EINVAL)                                                                       \
    X(flock, ENOLCK, EWOULDBLOCK, EOPNOTSUPP, EINTR)                                               \
    X(fchown, EPERM, EIO)                                                                          \
    X(fchmod, EPERM, EIO)                                                                          \
    X(renameat, EACCES, ENOSPC, EIO, EBUSY)                                                        \
    X(unlink, EACCES, EIO, EBUSY)                                                                  \
    X(unlinkat, EACCES, EIO, EBUSY)                                                                \
    X(readlink, EACCES, EIO, ENOMEM)                                                               \
    X(getrandom, ENOSYS, kShortTransfer, EINTR)                                                    \
    X(opendir, EMFILE, EACCES, ENOMEM)                                                             \
    X(fdopendir, ENOMEM, ENOTDIR)                                                                  \
    X(readdir, EIO)                                                                                \
    X(mkdir, EACCES, ENOSPC, EEXIST)                                                               \
    X(ioctl, ENOTTY, EPERM)                                                                        \
    X(newlocale, ENOMEM, ENOENT)                                                                   \
    X(getpwuid_r, EIO, EMFILE)

namespace q32::test {

#define Q32_NUMBER(name, ...) CALL_##name,
enum CallId : int { Q32_CALLS(Q32_NUMBER) kCalls };
#undef Q32_NUMBER

/// One call of a function: counted, and perhaps the one that fails or kills.
class Call {
public:
    explicit Call(CallId function) noexcept;
    /// Kills the process if that is to happen after the call.
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    int fnGetError() const { return m_nError; }
    /// Whether it fails, with errno set.
    bool fnFails() const {
        if (m_nError <= 0)
            return false;
        errno = m_nError;
        return true;
    }
    /// How much of `count` bytes are transferred.
    std::size_t fnLimit(std::size_t count) const {
        return m_nError == kShortTransfer ? (count + 1) / 2 : count;
    }

private:
    int m_nError = 0;
    bool m_bDies = false;
};

/// The C library's own function.
template <typename Function>
Function* fnFind(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace q32::test

#define Q32_VISIBLE extern "C" __attribute__((visibility("default")))
#define Q32_REAL(function)                                                                         \
    static auto* const real = q32::test::fnFind<decltype(::function)>(#function)
#define Q32_CALL(failed, function, ...)                                                            \
    Q32_REAL(function);                                                                            \
    const q32::test::Call call(q32::test::CALL_##function);                                        \
    return call.fnFails() ? (failed) : real(__VA_ARGS__)
