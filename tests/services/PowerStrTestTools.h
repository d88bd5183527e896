/// @file
/// A reference for the percentages of a disk.
#pragma once

#include <cstdint>
#include <string>

/// The rule step by step, on 64-bit numbers that are truncated explicitly.
inline std::string fnRatioBySteps(std::uint64_t total, std::uint64_t free, bool used) {
    constexpr std::uint64_t kLow = 0xFFFFFFFF;
    std::uint64_t high = total >> 32;
    std::uint64_t totalLow = total & kLow;
    std::uint64_t value = free & kLow;
    if (used) {
        if (!(totalLow > value)) {
            high = (high - 1) & kLow;
            totalLow = kLow;
        }
        value = (totalLow - value) & kLow;
    }
    while (high != 0) {
        high /= 2;
        totalLow /= 2;
        value /= 2;
    }
    if (value == 0 || totalLow == 0)
        return "0%";
    const auto percent =
        static_cast<std::int64_t>(static_cast<double>(value) / static_cast<double>(totalLow) * 100);
    return std::to_string(static_cast<std::int32_t>(percent)) + "%";
}
