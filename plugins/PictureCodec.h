/// @file
/// The interface of a format to the readers and writers of pictures, and its failures.
#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/framework/Exceptions.h"

#include <csetjmp>
#include <cstddef>
#include <new>

namespace q32 {

class CqPictureInput;
class CqPictureOutput;
class CqPictureSource;
class CqPictureTarget;

/// The numbers of the library's messages that reading or writing a picture can end with.
enum PICTURE_MESSAGE : int {
    PICTURE_NO_MESSAGE = 0,
    PICTURE_NO_MEMORY = -1,
    PICTURE_CANNOT_OPEN = -3,
    PICTURE_CANNOT_READ = -4,
    PICTURE_CANNOT_SAVE = -5,
    PICTURE_CORRUPTED = -6,
    PICTURE_IN_USE = -7,
    PICTURE_EMPTY = -11,
    PICTURE_UNSUPPORTED = -102
};

/// Thrown by value within this folder. PICTURE_NO_MESSAGE means that the host aborted.
struct CqPictureFailure {
    PICTURE_MESSAGE m_eMessage;
};

/// One format. The functions throw CqPictureFailure, the framework's exceptions and std::bad_alloc.
struct CqPictureCodec {
    CqPictureFormat m_Format;
    /// Whether a file that begins with the `count` bytes at `head` has this format.
    bool (*m_pKnows)(const unsigned char* head, std::size_t count);
    /// Reads from the file's start.
    void (*m_pRead)(CqPictureInput& input, CqPictureTarget& target);
    /// Writes the whole file.
    void (*m_pWrite)(CqPictureOutput& output, CqPictureSource& source,
                     const CqPictureOptions& options);
};

/// Runs `work` on a file and converts whatever it throws into a result.
template <typename Work>
CqPictureResult fnRunOnFile(const char* path, const Work& work) noexcept {
    CqPictureResult result;
    try {
        result.m_strPath = path;
        work();
    } catch (const CqPictureFailure& failure) {
        result.m_nMsgId = failure.m_eMessage;
        result.m_bAborted = failure.m_eMessage == PICTURE_NO_MESSAGE;
    } catch (CException* exception) {
        exception->Delete();
        result.m_nMsgId = PICTURE_NO_MEMORY;
    } catch (const std::bad_alloc&) {
        result.m_nMsgId = PICTURE_NO_MEMORY;
    }
    return result;
}

extern const CqPictureCodec kPngCodec;
extern const CqPictureCodec kJpegCodec;
extern const CqPictureCodec kTiffCodec;
extern const CqPictureCodec kBmpCodec;

/// Runs calls into a C library that reports failure by longjmp to `jump`; false in that case.
/// `call` and what it calls must own nothing that a destructor has to release.
template <typename Call>
[[gnu::noinline]] bool fnGuardJump(std::jmp_buf& jump, const Call& call) {
    if (setjmp(jump) != 0)
        return false;
    call();
    return true;
}

} // namespace q32
