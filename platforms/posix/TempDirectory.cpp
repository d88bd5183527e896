#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/Path_p.h"
#include "platforms/posix/TempDirectory_p.h"
#include "q32Base/memory/CqVMPolicy.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace q32::posix {
namespace {

constexpr char kUsual[] = "/var/tmp";
constexpr char kLast[] = "/tmp"; // in memory on many systems

/// Whether files can be created in a directory; leaves errno.
bool fnTakesFiles(const std::string& path) {
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0)
        return false;
    if (!S_ISDIR(facts.st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    return ::faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

/// Whether files of a directory that takes files can be locked, which scratch files must be; leaves
/// errno. A file is made for that, and deleted at once; its name lets a sweep delete it, too.
bool fnTakesLocks(const std::string& path) {
    const std::string name = path + "/~qd" + fnRandomDigits() + ".tmp";
    const Descriptor file(fnRetry([&] {
        return ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    }));
    if (!file)
        return true; // a disk that is full at present
    const bool locked = fnTryLock(file, LOCK_EX) || errno == EWOULDBLOCK;
    const int cause = errno;
    ::unlink(name.c_str());
    errno = cause;
    return locked;
}

/// Why a directory can't be used; empty when it can. It has no separator at its end.
std::string fnFindFault(const CodePage& codePage, const std::string& path) {
    if (fnLibraryDirectory(path).size() >= kMaxPathBytes)
        return "its name is too long";
    if (fnNativePath(codePage, path) != path)
        return "its name has a backslash";
    std::string present = path;
    bool usable = fnTakesFiles(path);
    const int cause = errno;
    if (!usable && cause == ENOENT) {
        // The library creates a missing directory, but not the one above it.
        present = fnSplitPath(path).m_Directory;
        usable = fnTakesFiles(present);
    }
    if (!usable)
        return std::strerror(cause);
    if (!fnTakesLocks(present))
        return std::string("its files can't be locked: ").append(std::strerror(errno));
    return "";
}

void fnReportOnce(const std::function<void(const std::string&)>& report, const std::string& text) {
    static std::atomic<bool> reported = false;
    if (reported.exchange(true))
        return;
    if (report)
        report(text);
    else
        std::fprintf(stderr, "q32Base: %s\n", text.c_str());
}

} // namespace

std::string fnChooseTempDirectory(const CodePage& codePage, const std::string& chosen,
                                  const std::function<void(const std::string&)>& report) {
    std::string first;
    std::string fault;
    for (const std::string& candidate : {chosen, std::string(kUsual), std::string(kLast)}) {
        if (candidate.empty())
            continue;
        std::string path = fnLibraryDirectory(candidate);
        path.pop_back(); // of several separators at its end, none is left
        const std::string found = fnFindFault(codePage, path.empty() ? "/" : path);
        if (found.empty()) {
            if (!fault.empty())
                fnReportOnce(report, std::string("temporary files go to ")
                                         .append(candidate)
                                         .append(", since ")
                                         .append(first)
                                         .append(" can't be used: ")
                                         .append(fault));
            return fnLibraryDirectory(candidate);
        }
        if (fault.empty()) {
            first = candidate;
            fault = found;
        }
    }
    fnReportOnce(report, std::string("no directory takes temporary files; ")
                             .append(first)
                             .append(": ")
                             .append(fault));
    return fnLibraryDirectory(kUsual);
}

} // namespace q32::posix
