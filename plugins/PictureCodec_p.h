/// @file
/// The interface of a format to the readers and writers of pictures, and its failures.
#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/messages/Messages.h"

#include <csetjmp>
#include <cstddef>
#include <new>

namespace q32 {

class CodecInput;
class CodecOutput;
class PictureSource;
class PictureTarget;

/// Thrown by value within this folder. MESSAGE_NONE means that the host aborted.
struct CodecFailure {
    CQ_MESSAGE m_eMessage;
    PICTURE_LIMIT m_eLimit = PICTURE_LIMIT_NONE; ///< if one of the host's limits is the reason
};

/// One format. The functions throw CodecFailure, the framework's exceptions and std::bad_alloc.
struct PictureCodec {
    CqPictureFormat m_Format;
    /// Whether a file that begins with the `count` bytes at `head` has this format.
    bool (*m_pKnows)(const unsigned char* head, std::size_t count);
    /// Reads from the file's start.
    void (*m_pRead)(CodecInput& input, PictureTarget& target);
    /// Writes the whole file.
    void (*m_pWrite)(CodecOutput& output, PictureSource& source, const CqPictureOptions& options);
};

/// Runs `work` on a file and converts whatever it throws into a result.
template <typename Work>
CqPictureResult fnRunOnFile(const char* path, const Work& work) noexcept {
    CqPictureResult result;
    try {
        result.m_strPath = path;
        work();
    } catch (const CodecFailure& failure) {
        result.m_nMsgId = failure.m_eMessage;
        result.m_bAborted = failure.m_eMessage == MESSAGE_NONE;
        result.m_eLimit = failure.m_eLimit;
    } catch (CException* exception) {
        exception->Delete();
        result.m_nMsgId = MESSAGE_NO_MEMORY;
    } catch (const std::bad_alloc&) {
        result.m_nMsgId = MESSAGE_NO_MEMORY;
    }
    return result;
}

extern const PictureCodec kPngCodec;
extern const PictureCodec kJpegCodec;
extern const PictureCodec kTiffCodec;
extern const PictureCodec kBmpCodec;

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
