#include "tests/support/FailingCalls_p.h"

#include <clocale>
#include <cstdarg>
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace q32::test;

namespace {

mode_t fnMode(int flags, va_list rest) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
}

} // namespace

// Files by name.

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers have reserved names
Q32_VISIBLE int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = fnMode(flags, rest);
    va_end(rest);
    Q32_CALL(-1, open, path, flags, mode);
}
Q32_VISIBLE int openat(int directory, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = fnMode(flags, rest);
    va_end(rest);
    Q32_CALL(-1, openat, directory, path, flags, mode);
}
Q32_VISIBLE int stat(const char* path, struct stat* facts) noexcept {
    Q32_CALL(-1, stat, path, facts);
}
Q32_VISIBLE int lstat(const char* path, struct stat* facts) noexcept {
    Q32_CALL(-1, lstat, path, facts);
}
Q32_VISIBLE int fstatat(int directory, const char* path, struct stat* facts, int flags) noexcept {
    Q32_CALL(-1, fstatat, directory, path, facts, flags);
}
Q32_VISIBLE int access(const char* path, int mode) noexcept {
    Q32_CALL(-1, access, path, mode);
}
Q32_VISIBLE int faccessat(int directory, const char* path, int mode, int flags) noexcept {
    Q32_CALL(-1, faccessat, directory, path, mode, flags);
}
Q32_VISIBLE int statvfs(const char* path, struct statvfs* facts) noexcept {
    Q32_CALL(-1, statvfs, path, facts);
}
Q32_VISIBLE int renameat(int from, const char* name, int to, const char* other) noexcept {
    Q32_CALL(-1, renameat, from, name, to, other);
}
Q32_VISIBLE int unlink(const char* name) noexcept {
    Q32_CALL(-1, unlink, name);
}
Q32_VISIBLE int unlinkat(int directory, const char* name, int flags) noexcept {
    Q32_CALL(-1, unlinkat, directory, name, flags);
}
Q32_VISIBLE ssize_t readlink(const char* path, char* target, size_t size) noexcept {
    Q32_CALL(-1, readlink, path, target, size);
}
Q32_VISIBLE int mkdir(const char* path, mode_t mode) noexcept {
    Q32_CALL(-1, mkdir, path, mode);
}
Q32_VISIBLE DIR* opendir(const char* path) {
    Q32_CALL(nullptr, opendir, path);
}
Q32_VISIBLE DIR* fdopendir(int file) {
    Q32_CALL(nullptr, fdopendir, file);
}
Q32_VISIBLE dirent* readdir(DIR* list) {
    Q32_CALL(nullptr, readdir, list);
}

// Open files.

Q32_VISIBLE int close(int file) {
    Q32_REAL(close);
    const Call call(CALL_close);
    const int result = real(file);
    return call.fnFails() ? -1 : result;
}
Q32_VISIBLE ssize_t read(int file, void* bytes, size_t count) {
    Q32_CALL(-1, read, file, bytes, call.fnLimit(count));
}
Q32_VISIBLE ssize_t pread(int file, void* bytes, size_t count, off_t offset) {
    Q32_CALL(-1, pread, file, bytes, call.fnLimit(count), offset);
}
Q32_VISIBLE ssize_t write(int file, const void* bytes, size_t count) {
    Q32_CALL(-1, write, file, bytes, call.fnLimit(count));
}
Q32_VISIBLE ssize_t pwrite(int file, const void* bytes, size_t count, off_t offset) {
    Q32_CALL(-1, pwrite, file, bytes, call.fnLimit(count), offset);
}
Q32_VISIBLE int fstat(int file, struct stat* facts) noexcept {
    Q32_CALL(-1, fstat, file, facts);
}
Q32_VISIBLE int ftruncate(int file, off_t size) noexcept {
    Q32_CALL(-1, ftruncate, file, size);
}
Q32_VISIBLE int fallocate(int file, int mode, off_t offset, off_t size) {
    Q32_CALL(-1, fallocate, file, mode, offset, size);
}
Q32_VISIBLE int fsync(int file) {
    Q32_CALL(-1, fsync, file);
}
Q32_VISIBLE int fdatasync(int file) {
    Q32_CALL(-1, fdatasync, file);
}
Q32_VISIBLE int sync_file_range(int file, off_t offset, off_t size, unsigned int flags) {
    Q32_CALL(-1, sync_file_range, file, offset, size, flags);
}
Q32_VISIBLE int posix_fadvise(int file, off_t offset, off_t size, int advice) noexcept {
    Q32_CALL(call.fnGetError(), posix_fadvise, file, offset, size, advice);
}
Q32_VISIBLE int flock(int file, int operation) noexcept {
    Q32_CALL(-1, flock, file, operation);
}
Q32_VISIBLE int fchown(int file, uid_t user, gid_t group) noexcept {
    Q32_CALL(-1, fchown, file, user, group);
}
Q32_VISIBLE int fchmod(int file, mode_t mode) noexcept {
    Q32_CALL(-1, fchmod, file, mode);
}
Q32_VISIBLE int ioctl(int file, unsigned long request, ...) noexcept {
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    Q32_CALL(-1, ioctl, file, request, argument);
}

// The rest.

Q32_VISIBLE ssize_t getrandom(void* bytes, size_t count, unsigned int flags) {
    Q32_CALL(-1, getrandom, bytes, call.fnLimit(count), flags);
}
Q32_VISIBLE locale_t newlocale(int parts, const char* name, locale_t base) noexcept {
    Q32_CALL(nullptr, newlocale, parts, name, base);
}
Q32_VISIBLE int getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** found) {
    *found = nullptr;
    Q32_CALL(call.fnGetError(), getpwuid_r, user, entry, buffer, size, found);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
