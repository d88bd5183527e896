/// @file
/// Comparison by bits, and random numbers with fixed seeds.
#pragma once

#include "q32Base/geometry/CqPoint2D.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMaxDouble = std::numeric_limits<double>::max();

/// Equal bits; any two not-a-numbers count as equal.
inline ::testing::AssertionResult fnSameBits(double a, double b) {
    if (std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
        (std::isnan(a) && std::isnan(b)))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << std::hexfloat << a << " is not " << b
                                         << std::defaultfloat << " (" << a << ", " << b << ")";
}
inline ::testing::AssertionResult fnSameBits(const CqPoint2D& a, const CqPoint2D& b) {
    const auto x = fnSameBits(a.m_X, b.m_X);
    return x ? fnSameBits(a.m_Y, b.m_Y) : x;
}

#define EXPECT_BITS(actual, ...) EXPECT_TRUE(fnSameBits(actual, __VA_ARGS__))
#define ASSERT_BITS(actual, ...) ASSERT_TRUE(fnSameBits(actual, __VA_ARGS__))

class CqRandom {
public:
    explicit CqRandom(unsigned int seed) : m_Engine(seed) {}

    double fnBetween(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(m_Engine);
    }
    int fnInt(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_Engine); }
    CqPoint2D fnPoint(double low, double high) {
        const double x = fnBetween(low, high);
        return {x, fnBetween(low, high)};
    }
    /// Of any size from 1e-300 to 1e300, either sign.
    double fnAnySize() {
        const double size = std::pow(10.0, fnBetween(-300.0, 300.0));
        return fnInt(0, 1) == 0 ? size : -size;
    }
    /// Finite, zero, infinite or not a number.
    double fnAnything() {
        switch (fnInt(0, 7)) {
        case 0:
            return 0.0;
        case 1:
            return kInf;
        case 2:
            return -kInf;
        case 3:
            return kNaN;
        case 4:
            return fnAnySize();
        default:
            return fnBetween(-100.0, 100.0);
        }
    }

private:
    std::mt19937 m_Engine;
};
