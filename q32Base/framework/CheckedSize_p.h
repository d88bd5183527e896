/// @file
/// Size arithmetic that can't wrap: bytes of rows, blocks and files computed from dimensions that
/// come from outside.
#pragma once

#include "q32Base/framework/Exceptions.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace q32 {

/// An unsigned size of up to 64 bits. Once a result is negative or beyond 64 bits, or a divisor 0,
/// the size is invalid, and so is all that is computed from it. Operands of any integral type mix:
///
///     const auto bytes = (CheckedSize(width) * bits).fnDivideUp(8) * height;
///     unsigned char* block = fnNewArray<unsigned char>(bytes.fnGetOrThrow());
class CheckedSize {
public:
    template <std::integral Value>
    constexpr CheckedSize(Value value) // NOLINT(google-explicit-constructor): operands mix
        : m_nValue(static_cast<std::uint64_t>(value)),
          m_bValid(std::in_range<std::uint64_t>(value)) {}

    friend constexpr CheckedSize operator+(CheckedSize a, CheckedSize b) {
        const bool valid = a.m_bValid && b.m_bValid && b.m_nValue <= kMax - a.m_nValue;
        return valid ? CheckedSize(a.m_nValue + b.m_nValue) : fnInvalid();
    }
    friend constexpr CheckedSize operator-(CheckedSize a, CheckedSize b) {
        const bool valid = a.m_bValid && b.m_bValid && b.m_nValue <= a.m_nValue;
        return valid ? CheckedSize(a.m_nValue - b.m_nValue) : fnInvalid();
    }
    friend constexpr CheckedSize operator*(CheckedSize a, CheckedSize b) {
        const bool valid =
            a.m_bValid && b.m_bValid && (b.m_nValue == 0 || a.m_nValue <= kMax / b.m_nValue);
        return valid ? CheckedSize(a.m_nValue * b.m_nValue) : fnInvalid();
    }
    /// The quotient, rounded up: bytes of so many bits, strips of so many rows.
    constexpr CheckedSize fnDivideUp(CheckedSize unit) const {
        if (!m_bValid || !unit.m_bValid || unit.m_nValue == 0)
            return fnInvalid();
        return m_nValue / unit.m_nValue + (m_nValue % unit.m_nValue != 0 ? 1u : 0u);
    }
    /// The next multiple of `unit`: the size itself if it is one.
    constexpr CheckedSize fnAlignUp(CheckedSize unit) const { return fnDivideUp(unit) * unit; }

    /// Whether the size is valid and at most `limit`.
    constexpr bool fnIsWithin(std::uint64_t limit) const { return m_bValid && m_nValue <= limit; }
    /// The size as `Result`; empty if it is invalid or out of the range of that type.
    template <std::integral Result = std::size_t>
    constexpr std::optional<Result> fnGet() const {
        if (!m_bValid || !std::in_range<Result>(m_nValue))
            return std::nullopt;
        return static_cast<Result>(m_nValue);
    }
    /// The same; raises the memory exception in place of an empty result.
    template <std::integral Result = std::size_t>
    constexpr Result fnGetOrThrow() const {
        const std::optional<Result> value = fnGet<Result>();
        if (!value)
            AfxThrowMemoryException();
        return *value;
    }

private:
    static constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

    static constexpr CheckedSize fnInvalid() { return -1; }

    std::uint64_t m_nValue;
    bool m_bValid;
};

} // namespace q32
