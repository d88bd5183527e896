/// @file
/// Allocation inside the library: every failure is the framework's memory exception, never
/// std::bad_alloc.
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

/// Runs `work`, which may use standard containers or platform services and says whether it has
/// succeeded. A std::bad_alloc that comes out of it counts as a no.
template <typename Work>
bool fnTryMemory(Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace q32
