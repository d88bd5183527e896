#include "q32Base/framework/CFileException.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/Messages.h"

namespace {

const char* fnFileCause(CQ_FILE_CAUSE cause) {
    switch (cause) {
    case FILE_CAUSE_NONE:
    case FILE_CAUSE_GENERIC:
        break;
    case FILE_CAUSE_NOT_FOUND:
        return "it does not exist";
    case FILE_CAUSE_BAD_PATH:
    case FILE_CAUSE_INVALID:
        return "its path is not valid";
    case FILE_CAUSE_TOO_MANY_OPEN:
        return "too many files are open";
    case FILE_CAUSE_ACCESS_DENIED:
        return "access is denied";
    case FILE_CAUSE_REMOVE_CURRENT_DIR:
        return "it is the current directory";
    case FILE_CAUSE_DIRECTORY_FULL:
        return "its directory is full";
    case FILE_CAUSE_BAD_SEEK:
        return "it has no such position";
    case FILE_CAUSE_HARD_IO:
        return "its device has failed";
    case FILE_CAUSE_SHARING_VIOLATION:
    case FILE_CAUSE_LOCK_VIOLATION:
        return "another program has it open";
    case FILE_CAUSE_DISK_FULL:
        return "the disk is full";
    case FILE_CAUSE_END_OF_FILE:
        return "it ends early";
    }
    return "an error of the system";
}

const char* fnArchiveCause(CArchiveException::CAUSE cause) {
    switch (cause) {
    case CArchiveException::none:
    case CArchiveException::genericException:
        break;
    case CArchiveException::readOnly:
        return "An archive for reading cannot be written to.";
    case CArchiveException::endOfFile:
        return "The data ends early.";
    case CArchiveException::writeOnly:
        return "An archive for writing cannot be read from.";
    }
    return "The archive cannot be used.";
}

CString fnWord(const CException& exception) {
    if (dynamic_cast<const CMemoryException*>(&exception))
        return q32MessageText(MESSAGE_NO_MEMORY);
    if (dynamic_cast<const CResourceException*>(&exception))
        return "A resource of the program is missing or cannot be read.";
    if (const auto* file = dynamic_cast<const CFileException*>(&exception)) {
        CString text("The file [");
        text += file->m_strFileName;
        text += "] cannot be used: ";
        text += fnFileCause(file->m_cause);
        text += '.';
        return text;
    }
    if (const auto* archive = dynamic_cast<const CArchiveException*>(&exception))
        return fnArchiveCause(archive->m_cause);
    return "An operation has failed.";
}

} // namespace

CString q32ExceptionText(const CException& exception) {
    return q32::fnTryMemoryOr(CString(), [&] { return fnWord(exception); });
}
