#pragma once

#include <cstdint>
#include <random>

/// Seeded random numbers of 32 bits, the same on every machine.
class Random {
public:
    explicit Random(std::uint32_t seed) : m_Engine(seed) {}

    std::uint32_t operator()() { return static_cast<std::uint32_t>(m_Engine()); }

private:
    std::mt19937 m_Engine;
};
