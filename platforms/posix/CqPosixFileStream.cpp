#include "platforms/posix/CqPosixFileStream_p.h"
#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/Path_p.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>

using namespace q32::posix;
using q32::Descriptor;
using q32::fnRetry;

namespace {

constexpr mode_t kNewFileMode = 0666; // reduced by the umask

int fnFlags(const CqFileMode& mode) {
    // Truncation needs write access, whatever the stream may do afterwards.
    if (mode.m_bCreate)
        return O_RDWR;
    if (mode.m_bWrite)
        return mode.m_bRead ? O_RDWR : O_WRONLY;
    return O_RDONLY;
}

/// The cause of a failed open. The system reports a missing file and a missing directory alike;
/// here only the first is "not found".
CQ_FILE_CAUSE fnOpenCause(const char* path) {
    const int error = errno;
    if (error != ENOENT)
        return fnFileCause(error);
    const bool hasDirectory = ::access(fnSplitPath(path).m_Directory.c_str(), F_OK) == 0;
    errno = error;
    return hasDirectory ? FILE_CAUSE_NOT_FOUND : FILE_CAUSE_BAD_PATH;
}

/// Opens a file, or creates it. One that is new can be deleted again if the rest fails.
Descriptor fnOpenFile(const char* path, const CqFileMode& mode, bool& isNew) {
    if (mode.m_bCreate) {
        Descriptor made(fnRetry([&] {
            return ::open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kNewFileMode);
        }));
        isNew = static_cast<bool>(made);
        if (isNew || mode.m_bNew || errno != EEXIST)
            return made;
    }
    // A link may lead to a file that doesn't exist yet.
    return fnOpenRegular(path, fnFlags(mode) | (mode.m_bCreate ? O_CREAT : 0), kNewFileMode);
}

/// Takes the stream's lock. A shared stream also works on a file system without locks.
bool fnLock(const Descriptor& file, bool exclusive) {
    return fnTryLock(file, exclusive ? LOCK_EX : LOCK_SH) || (!exclusive && errno != EWOULDBLOCK);
}

/// Deletes a file that was just created, unless another process already uses it.
void fnTakeBack(const char* path, const Descriptor& file) {
    if ((fnTryLock(file, LOCK_EX) || errno != EWOULDBLOCK) && fnIsNameOf(AT_FDCWD, path, file))
        ::unlink(path);
}

} // namespace

std::unique_ptr<CqFileStream> CqPosixFileStream::fnOpen(const char* path, const CqFileMode& mode,
                                                        CQ_FILE_CAUSE& cause) {
    cause = FILE_CAUSE_INVALID;
    if (!mode.m_bRead && !mode.m_bWrite)
        return nullptr;
    // Allocated first: nothing may fail for memory once a new file exists.
    auto stream = std::make_unique<CqPosixFileStream>(Descriptor(), mode);
    bool isNew = false;
    Descriptor file = fnOpenFile(path, mode, isNew);
    // Truncated only under the lock: the file may be in use.
    const bool open =
        file && fnLock(file, mode.m_bExclusive) &&
        (!mode.m_bCreate || fnRetry([&] { return ::ftruncate(file.fnGet(), 0); }) == 0);
    cause = open ? FILE_CAUSE_NONE : fnOpenCause(path);
    if (!open) {
        if (isNew)
            fnTakeBack(path, file);
        return nullptr;
    }
    stream->m_File = std::move(file);
    return stream;
}

CQ_FILE_CAUSE CqPosixFileStream::fnGetLength(std::uint64_t& length) {
    struct stat facts {};
    if (::fstat(m_File.fnGet(), &facts) != 0)
        return fnLastCause();
    length = static_cast<std::uint64_t>(facts.st_size);
    return FILE_CAUSE_NONE;
}
