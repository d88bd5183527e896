/// @file
/// Work that reports exhausted memory to the user.
#pragma once

#include "q32Base/framework/Memory.h"
#include "q32Base/messages/Messages.h"

#include <type_traits>
#include <utility>

namespace q32 {

/// Runs `work`, which returns nothing or whether it has succeeded. If memory is exhausted, shows
/// message -1. False then, and if `work` returns false.
template <typename Work>
bool fnReportMemory(Work&& work) {
    bool done = true;
    const bool ran = fnTryMemory([&] {
        if constexpr (std::is_void_v<std::invoke_result_t<Work>>)
            std::forward<Work>(work)();
        else
            done = std::forward<Work>(work)();
    });
    if (!ran)
        q32ShowMsg(MESSAGE_NO_MEMORY, nullptr, nullptr, nullptr, 0);
    return ran && done;
}

} // namespace q32
