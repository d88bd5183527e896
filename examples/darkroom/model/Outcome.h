/// @file How an edit ended, and the handling of exhausted memory.
#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/Messages.h"

#include <string>
#include <utility>

namespace darkroom {

/// The outcome of an edit, in the result codes of the picture files, so that one function reports
/// both to the user.
using Outcome = CqPictureResult;

/// A failure with one of the library's messages, about a file.
inline Outcome fnFail(CQ_MESSAGE message, const std::string& path) {
    Outcome outcome;
    outcome.m_nMsgId = message;
    outcome.m_strPath = path.c_str();
    return outcome;
}

/// The outcome of what the user has aborted, and of what doesn't suit the picture.
inline Outcome fnStop() {
    Outcome outcome;
    outcome.m_bAborted = true;
    return outcome;
}

/// Runs `work` and converts its memory failures into an outcome.
template <typename Work>
Outcome fnGuard(Work&& work) {
    Outcome failed; // no path: setting it might allocate again
    failed.m_nMsgId = MESSAGE_NO_MEMORY;
    return q32::fnTryMemoryOr(std::move(failed), std::forward<Work>(work));
}

} // namespace darkroom
