#pragma once

#include "q32Base/framework/Exceptions.h"
#include "q32Base/messages/Messages.h"

#include <new>
#include <utility>

namespace darkroom {

/// Runs `work` and keeps its failure out of Qt's event loop; false when memory is exhausted.
template <typename Work>
bool fnTry(Work&& work) {
    try {
        std::forward<Work>(work)();
        return true;
    } catch (CMemoryException* failure) {
        failure->Delete();
    } catch (const std::bad_alloc&) {
        return false;
    }
    return false;
}

/// The same, and reports the failure to the user.
template <typename Work>
void fnTryAloud(Work&& work) {
    if (!fnTry(std::forward<Work>(work)))
        q32ShowMsg(MESSAGE_NO_MEMORY, nullptr, nullptr, nullptr, 0);
}

} // namespace darkroom
