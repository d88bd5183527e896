#include "platforms/posix/Directory_p.h"
#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/Path_p.h"
#include "platforms/posix/posix.h"
#include "q32Base/framework/Memory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

using namespace q32::posix;
using q32::Descriptor;
using q32::fnRetry;

namespace {

constexpr std::string_view kScratchMask = "~qd*.tmp";

/// Deletes a left-over scratch file; true if the entry was one and is deleted.
bool fnSweepOne(int directory, const std::string& name) {
    const Descriptor file(fnRetry([&] {
        return ::openat(directory, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    }));
    struct stat facts {};
    if (!file || ::fstat(file.fnGet(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
        facts.st_uid != ::geteuid())
        return false;
    // Checked again under the lock: the name may belong to another file by now.
    return fnTryLock(file, LOCK_EX) && fnIsNameOf(directory, name.c_str(), file) &&
           ::unlinkat(directory, name.c_str(), 0) == 0;
}

} // namespace

std::size_t q32PosixSweepScratchFiles(const char* directory) {
    std::size_t deleted = 0;
    q32::fnTryMemory([&] {
        const CodePage codePage{std::string()};
        const std::string path = fnNativePath(codePage, directory);
        const Descriptor open(
            fnRetry([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
        if (!open)
            return;
        for (const std::string& name : fnListDirectory(path))
            if (fnMatches(codePage, kScratchMask, name) && fnSweepOne(open.fnGet(), name))
                ++deleted;
    });
    return deleted;
}

std::size_t q32PosixSweepScratchFiles(std::span<const std::string> directories) {
    std::size_t deleted = 0;
    for (const std::string& directory : directories)
        if (!directory.empty())
            deleted += q32PosixSweepScratchFiles(directory.c_str());
    return deleted;
}
