/// @file
/// Handling of exhausted memory. Only the memory exception leaves the library, never
/// std::bad_alloc: allocate by `fnNew` and `fnNewArray`, and run code that may throw std::bad_alloc
/// in `fnGuardMemory`. Where a failure is handled, `fnTryMemory` and `fnTryMemoryOr` catch both;
/// `fnReportMemory` (messages/ReportMemory.h) also shows a message.
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

/// `new Type[count]`, uninitialised, to be freed by `delete[]`. Raises the memory exception.
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

/// Runs `work`, which may use standard containers or platform services, and converts a
/// std::bad_alloc from it to the memory exception.
template <typename Work>
decltype(auto) fnGuardMemory(Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (const std::bad_alloc&) {
        AfxThrowMemoryException();
    }
}

/// The result of `work`, or `fallback` if it throws std::bad_alloc or the memory exception. Other
/// exceptions pass through.
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

/// Runs `work`, which returns nothing or whether it has succeeded. False if it returns false, and
/// if memory is exhausted.
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
