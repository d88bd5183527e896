#include "platforms/posix/CqPosixReplacement_p.h"
#include "platforms/posix/FileAccess_p.h"

#include <fcntl.h>
#include <sys/file.h>

using namespace q32::posix;
using q32::Descriptor;
using q32::fnRetry;

namespace {

/// Whether the file of that name, if there is one, may be replaced: it is regular, writable, and
/// nobody has it open.
bool fnIsFree(int directory, const char* name) {
    if (::faccessat(directory, name, W_OK, AT_EACCESS) != 0)
        return errno == ENOENT;
    const Descriptor held(fnRetry([&] {
        return ::openat(directory, name, O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
    struct stat facts {};
    if (!held || ::fstat(held.fnGet(), &facts) != 0)
        return false;
    if (!S_ISREG(facts.st_mode)) {
        errno = EACCES;
        return false;
    }
    return fnTryLock(held, LOCK_EX) || errno != EWOULDBLOCK;
}

} // namespace

std::unique_ptr<CqFileReplacement> CqPosixReplacement::fnOpen(std::string path,
                                                              CQ_FILE_CAUSE& cause) {
    std::unique_ptr<CqPosixReplacement> made;
    if (fnFollow(path))
        made = std::make_unique<CqPosixReplacement>(path);
    cause = made && made->m_File ? FILE_CAUSE_NONE
            : errno == ENOENT    ? FILE_CAUSE_BAD_PATH // its directory
                                 : fnFileCause(errno);
    if (cause != FILE_CAUSE_NONE)
        made.reset();
    return made;
}

CqPosixReplacement::CqPosixReplacement(const std::string& path)
    : m_File(path, m_New), m_Stream(std::move(m_New), {true, true}) {}

CQ_FILE_CAUSE CqPosixReplacement::fnCommit() {
    const Descriptor& file = m_Stream.fnGetFile();
    if (!file || !m_File)
        return FILE_CAUSE_INVALID;
    const bool done = fnIsFree(m_File.fnGetDirectory(), m_File.fnGetTarget()) &&
                      m_File.fnTakePlace(file, std::nullopt);
    const CQ_FILE_CAUSE cause = done ? FILE_CAUSE_NONE : fnFileCause(errno);
    m_Stream.fnClose();
    return cause;
}
