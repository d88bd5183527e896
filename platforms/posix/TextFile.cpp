#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/ReplaceFile_p.h"
#include "platforms/posix/TextFile_p.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace q32::posix {

namespace {

constexpr mode_t kNewTextMode = 0600;
constexpr std::chrono::milliseconds kLockPause{2};

Descriptor fnHoldLock(const std::string& path, std::chrono::milliseconds patience) {
    Descriptor lock =
        fnOpenRegular((path + ".lock").c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, kNewTextMode);
    const auto end = std::chrono::steady_clock::now() + patience;
    while (lock && !fnTryLock(lock, LOCK_EX)) {
        if (errno != EWOULDBLOCK)
            break; // the file system has no locks
        if (std::chrono::steady_clock::now() >= end)
            return {};
        std::this_thread::sleep_for(kLockPause);
    }
    return lock;
}

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
    // The length read counts, not the declared one, which is 0 for some special files.
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

    // One that has appeared meanwhile isn't lost for what was added to nothing.
    if (!exists && ::stat(target.c_str(), &old) == 0) {
        errno = EEXIST;
        return false;
    }
    Descriptor file;
    ReplacementFile replacement(target, file);
    return replacement && fnWriteAt(file, text.data(), text.size(), 0) &&
           replacement.fnTakePlace(file, kNewTextMode);
}

} // namespace q32::posix
