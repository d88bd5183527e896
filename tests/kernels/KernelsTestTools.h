#pragma once

#include "q32Base/kernels/Kernels_p.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace q32::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes fnRandomBytes(std::mt19937& random, std::size_t count) {
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

/// A run's source at a chosen misalignment, with the allocation ending right after it, so that the
/// address sanitizer sees a read past the end.
class SourceBytes {
public:
    SourceBytes(const Bytes& content, std::size_t misalignment)
        : m_Block(new std::uint8_t[misalignment + content.size()]), m_Misalignment(misalignment) {
        std::copy(content.begin(), content.end(), m_Block.get() + misalignment);
    }
    const std::uint8_t* fnGetData() const { return m_Block.get() + m_Misalignment; }

private:
    std::unique_ptr<std::uint8_t[]> m_Block;
    std::size_t m_Misalignment;
};

/// A run's target at a chosen misalignment, between guard bytes.
class TargetBytes {
public:
    TargetBytes(std::size_t size, std::size_t misalignment)
        : m_Block(2 * kGuard + misalignment + size, kGuardByte), m_Start(kGuard + misalignment),
          m_Size(size) {}
    TargetBytes(const Bytes& content, std::size_t misalignment)
        : TargetBytes(content.size(), misalignment) {
        std::copy(content.begin(), content.end(), fnGetData());
    }
    std::uint8_t* fnGetData() { return m_Block.data() + m_Start; }
    Bytes fnContent() { return Bytes(fnGetData(), fnGetData() + m_Size); }

    /// Whether the content is the expected one and every guard byte is intact.
    testing::AssertionResult fnHolds(const Bytes& expected) {
        if (expected.size() != m_Size)
            return testing::AssertionFailure() << "expected " << expected.size() << " bytes";
        for (std::size_t i = 0; i < m_Block.size(); ++i) {
            const bool inside = i >= m_Start && i < m_Start + m_Size;
            const unsigned want = inside ? expected[i - m_Start] : kGuardByte;
            if (m_Block[i] != want)
                return testing::AssertionFailure()
                       << (inside ? "byte " : "guard byte ")
                       << static_cast<std::ptrdiff_t>(i) - static_cast<std::ptrdiff_t>(m_Start)
                       << " of " << m_Size << " is " << unsigned{m_Block[i]} << ", not " << want;
        }
        return testing::AssertionSuccess();
    }

private:
    static constexpr std::size_t kGuard = 64;
    static constexpr std::uint8_t kGuardByte = 0xA5;
    Bytes m_Block;
    std::size_t m_Start;
    std::size_t m_Size;
};

/// Calls `test(count, misalignment)` for every small count at several misalignments, and for some
/// large counts.
template <class Test>
void fnForManyRuns(std::mt19937& random, Test test) {
    for (std::size_t count = 0; count <= 70; ++count)
        for (const std::size_t misalignment : {0u, 1u, 2u, 3u, 7u, 16u, 31u})
            test(count, misalignment);
    for (int i = 0; i < 12; ++i) {
        const std::size_t count = 71 + random() % 5000;
        test(count, random() % 32);
    }
}

inline std::vector<KernelLevel> fnLevelsHere() {
    std::vector<KernelLevel> levels;
    for (const KernelLevel level : {KernelLevel::SCALAR, KernelLevel::AVX2, KernelLevel::AVX512})
        if (fnKernelsOfLevel(level) != nullptr)
            levels.push_back(level);
    return levels;
}

inline std::string fnNameOf(KernelLevel level) {
    const char* const names[] = {"Scalar", "Avx2", "Avx512"};
    return names[static_cast<int>(level)];
}

/// Tests that run once for each kernel level of this machine.
class KernelsAtEachLevel : public testing::TestWithParam<KernelLevel> {
protected:
    const Kernels& m_Kernels = *fnKernelsOfLevel(GetParam());
    std::mt19937 m_Random{20240229};
};

#define Q32_AT_EACH_LEVEL(suite)                                                                   \
    INSTANTIATE_TEST_SUITE_P(Levels, suite, testing::ValuesIn(q32::test::fnLevelsHere()),          \
                             [](const auto& level) { return q32::test::fnNameOf(level.param); })

} // namespace q32::test
