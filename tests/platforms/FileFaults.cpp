#include "tests/platforms/FileFaults.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Order {
    std::string m_szFunction;
    std::size_t m_nLeft = 0; ///< 0: nothing fails
    int m_nError = 0;
    bool m_bAll = false;
    bool m_bHappened = false;
};
Order g_Order;

bool fnFails(const char* function) {
    if (g_Order.m_nLeft == 0 || g_Order.m_szFunction != function)
        return false;
    if (g_Order.m_nLeft > 1) {
        --g_Order.m_nLeft;
        return false;
    }
    g_Order.m_nLeft = g_Order.m_bAll ? 1 : 0;
    g_Order.m_bHappened = true;
    errno = g_Order.m_nError;
    return true;
}

/// The C library's own function.
template <typename Function>
Function* fnFind(const char* name, Function*) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

#define Q32_VISIBLE extern "C" __attribute__((visibility("default")))
#define Q32_CALL(failed, function, ...)                                                            \
    static const auto real = fnFind(#function, &::function);                                       \
    return fnFails(#function) ? (failed) : real(__VA_ARGS__)

Q32_VISIBLE int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    Q32_CALL(-1, open, path, flags, mode);
}
Q32_VISIBLE int openat(int directory, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    Q32_CALL(-1, openat, directory, path, flags, mode);
}
Q32_VISIBLE int flock(int file, int operation) noexcept {
    Q32_CALL(-1, flock, file, operation);
}
Q32_VISIBLE int stat(const char* path, struct stat* facts) noexcept {
    Q32_CALL(-1, stat, path, facts);
}
Q32_VISIBLE int fstat(int file, struct stat* facts) noexcept {
    Q32_CALL(-1, fstat, file, facts);
}
Q32_VISIBLE int fstatat(int directory, const char* path, struct stat* facts, int flags) noexcept {
    Q32_CALL(-1, fstatat, directory, path, facts, flags);
}
Q32_VISIBLE int faccessat(int directory, const char* path, int mode, int flags) noexcept {
    Q32_CALL(-1, faccessat, directory, path, mode, flags);
}
Q32_VISIBLE int fchown(int file, uid_t user, gid_t group) noexcept {
    Q32_CALL(-1, fchown, file, user, group);
}
Q32_VISIBLE int fchmod(int file, mode_t mode) noexcept {
    Q32_CALL(-1, fchmod, file, mode);
}
Q32_VISIBLE ssize_t pwrite(int file, const void* bytes, size_t count, off_t offset) {
    Q32_CALL(-1, pwrite, file, bytes, count, offset);
}
Q32_VISIBLE ssize_t pread(int file, void* bytes, size_t count, off_t offset) {
    Q32_CALL(-1, pread, file, bytes, count, offset);
}
Q32_VISIBLE int fsync(int file) {
    Q32_CALL(-1, fsync, file);
}
Q32_VISIBLE int renameat(int from, const char* name, int to, const char* other) noexcept {
    Q32_CALL(-1, renameat, from, name, to, other);
}
Q32_VISIBLE int unlinkat(int directory, const char* name, int flags) noexcept {
    Q32_CALL(-1, unlinkat, directory, name, flags);
}
Q32_VISIBLE ssize_t readlink(const char* path, char* target, size_t size) noexcept {
    Q32_CALL(-1, readlink, path, target, size);
}
Q32_VISIBLE ssize_t getrandom(void* bytes, size_t count, unsigned int flags) {
    Q32_CALL(-1, getrandom, bytes, count, flags);
}
Q32_VISIBLE DIR* fdopendir(int file) {
    Q32_CALL(nullptr, fdopendir, file);
}

namespace q32::test {

FileFault::FileFault(std::string function, std::size_t nth, int error, bool all) {
    g_Order = {std::move(function), nth, error, all, false};
}

FileFault::~FileFault() {
    g_Order.m_nLeft = 0;
}

bool FileFault::fnHappened() const {
    return g_Order.m_bHappened;
}

const std::vector<std::string>& fnFileFunctions() {
    static const std::vector<std::string> functions = {
        "open",      "openat",   "flock",    "stat",      "fstat",    "fstatat",
        "faccessat", "fchown",   "fchmod",   "pwrite",    "pread",    "fsync",
        "renameat",  "unlinkat", "readlink", "getrandom", "fdopendir"};
    return functions;
}

} // namespace q32::test
