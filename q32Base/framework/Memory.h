/// @file
/// Running out of memory. What leaves the library is the memory exception, never std::bad_alloc:
/// allocate by `fnNew` and `fnNewArray`, and run what may raise a std::bad_alloc under
/// `fnGuardMemory`. Where a failure ends, `fnTryMemory` and `fnTryMemoryOr` take both forms;
/// `fnReportMemory` (messages/ReportMemory.h) also tells the user.
#pragma once

#include "q32Base/framework/Exceptions.h"

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace q32 {

/// `new Type(arguments…)`. The caller owns the object. Raises the memory exception.
template <typename Type, typename... Arguments>
Type* fnNew(Arguments&&... arguments) {
    auto* object = new (std::nothrow) Type(std::forward<Arguments>(arguments)...);
    if (!object)
        AfxThrowMemoryException();
    return object;
}

/// `new Type[count]`, not initialised, for `delete[]`. Raises the memory exception.
template <typename Type>
Type* fnNewArray(std::size_t count) {
    static_assert(std::is_trivial_v<Type>);
    Type* block = count > static_cast<std::size_t>(-1) / sizeof(Type) / 2 ? nullptr
                                                                          : new (std::nothrow)
                                                                                Type[count];
    if (!block)
        AfxThrowMemoryException();
    return block;
}

/// Runs `work`, which may use standard containers or platform services, and turns a std::bad_alloc
/// that comes out of it into the memory exception.
template <typename Work>
decltype(auto) fnGuardMemory(Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (const std::bad_alloc&) {
        AfxThrowMemoryException();
    }
}

/// What `work` returns; `fallback` when it runs out of memory, by std::bad_alloc or by the memory
/// exception. Other failures pass.
template <typename Result, typename Work>
Result fnTryMemoryOr(Result fallback, Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (CMemoryException* failure) {
        failure->Delete();
    } catch (const std::bad_alloc&) {
    }
    return fallback;
}

/// Runs `work`, which returns nothing or whether it has succeeded. False when it says so and when
/// it runs out of memory.
template <typename Work>
bool fnTryMemory(Work&& work) {
    return fnTryMemoryOr(false, [&] {
        if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
            std::forward<Work>(work)();
            return true;
        } else {
            return std::forward<Work>(work)();
        }
    });
}

} // namespace q32
