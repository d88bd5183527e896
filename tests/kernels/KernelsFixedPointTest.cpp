#include "q32Base/resampling/ContribTable_p.h"
#include "tests/kernels/KernelsTestTools.h"

#include <array>
#include <cmath>
#include <numeric>

namespace q32::test {
namespace {

// Factors with fixed-point tables. Enlarging by p / q has the distances of enlarging p times.
constexpr double kFactors[] = {1.0, 2.0, 3.0,  1.5, 4.0,       4.0 / 3.0,
                               5.0, 2.5, 1.25, 0.5, 1.0 / 3.0, 1000.0 / 3000.0};

class KernelsFixedPoint : public KernelsAtEachLevel {
protected:
    static std::uint8_t fnPlainByte(const ContribList& list, const std::vector<Bytes>& rows,
                                    std::size_t at) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            sum += rows[static_cast<std::size_t>(k)][at] * list.m_pEntries[k].m_dWeight;
        const double whole = std::trunc(sum + 1e-10);
        return static_cast<std::uint8_t>(std::min(std::max(whole, 0.0), 255.0));
    }

    /// Filters one row of samples per entry with both kernels.
    void fnCheck(const ContribList& list, const std::vector<Bytes>& rows,
                 std::size_t misalignment) {
        const std::size_t count = rows[0].size();
        Bytes expected(count);
        std::vector<SourceBytes> sources;
        std::vector<const std::uint8_t*> addresses;
        for (const Bytes& row : rows) {
            sources.emplace_back(row, misalignment);
            addresses.push_back(sources.back().fnGetData());
        }
        for (std::size_t i = 0; i < count; ++i)
            expected[i] = fnPlainByte(list, rows, i);
        TargetBytes target(count, misalignment);
        m_Kernels.fnConvolveRowsFixed(addresses.data(), list, target.fnGetData(), count);
        ASSERT_TRUE(target.fnHolds(expected))
            << list.m_nCount << " entries of " << list.m_FixedPoint.m_fUnit;
        if (count < kFilterLanes)
            return;

        // As lanes of two channels, starting with the last entry's pixel.
        constexpr std::size_t kStride = 2 * kFilterLanes;
        std::vector<ContribEntry> entries(list.m_pEntries, list.m_pEntries + list.m_nCount);
        Bytes lanes(rows.size() * kStride);
        for (std::size_t k = 0; k < rows.size(); ++k) {
            const std::size_t at = rows.size() - 1 - k;
            entries[k].m_nPixel = static_cast<std::int32_t>(7 + at);
            for (std::size_t i = 0; i < kStride; ++i)
                lanes[at * kStride + i] = rows[k][i % kFilterLanes];
        }
        ContribList reversed = list;
        reversed.m_pEntries = entries.data();
        const SourceBytes source(lanes, misalignment);
        TargetBytes blocks(kStride, misalignment);
        m_Kernels.fnConvolveLanesFixed(source.fnGetData(), 7, reversed, blocks.fnGetData(), 2);
        expected.resize(kFilterLanes);
        for (std::size_t i = 0; i < kFilterLanes; ++i)
            expected.push_back(expected[i]);
        ASSERT_TRUE(blocks.fnHolds(expected))
            << list.m_nCount << " entries of " << list.m_FixedPoint.m_fUnit;
    }

    std::vector<Bytes> fnRandomRows(const ContribList& list, std::size_t count) {
        std::vector<Bytes> rows(static_cast<std::size_t>(list.m_nCount));
        for (Bytes& row : rows)
            row = fnRandomBytes(m_Random, count);
        return rows;
    }

    /// Lists of every kind that a factor yields, from the middle and the edges.
    template <typename Test>
    void fnForEachList(Test test) {
        for (const double scale : kFactors) {
            const auto dstCount = static_cast<std::uint32_t>(std::ceil(30.0 * scale));
            const ContribTable table(scale, dstCount, 30);
            ASSERT_TRUE(table.fnIsFixedPoint()) << scale;
            for (std::uint32_t i = 0; i < dstCount; ++i) {
                test(table[i], static_cast<int>(std::lround(1.0 / table[i].m_FixedPoint.m_fUnit)));
                if (HasFatalFailure())
                    return;
            }
        }
    }
};

Q32_AT_EACH_LEVEL(KernelsFixedPoint);

TEST_P(KernelsFixedPoint, WeightsAreTheSumOfTheirParts) {
    fnForEachList([](const ContribList& list, int denominator) {
        const std::int32_t begin = list.m_FixedPoint.m_nBegin;
        const std::int32_t end = begin + 2 * list.m_FixedPoint.m_nPairs;
        ASSERT_LE(end, list.m_nCount + 1);
        for (std::int32_t k = 0; k < end; ++k) {
            const std::int8_t* parts = list.m_pEntries[begin + (k - begin) / 2 * 2].m_Parts;
            const int low = k < begin ? 0 : parts[(k - begin) % 2];
            const int high = k < begin ? 0 : parts[2 + (k - begin) % 2];
            const double weight = k < list.m_nCount ? list.m_pEntries[k].m_dWeight : 0.0;
            ASSERT_NEAR(high * list.m_FixedPoint.m_nRadix + low, weight * denominator, 1e-9);
        }
        for (std::int32_t k = end; k < list.m_nCount; ++k)
            ASSERT_NEAR(list.m_pEntries[k].m_dWeight * denominator, 0.0, 1e-9);
    });
}

TEST_P(KernelsFixedPoint, SumsAreThoseOfDoublesForEveryCount) {
    fnForEachList([this](const ContribList& list, int) {
        fnCheck(list, fnRandomRows(list, 1 + m_Random() % 200), m_Random() % 32);
    });
}

TEST_P(KernelsFixedPoint, SumsBeyondBothEndsOfBytesAreClampedToThem) {
    fnForEachList([this](const ContribList& list, int) {
        std::vector<Bytes> most;
        std::vector<Bytes> least;
        for (std::int32_t k = 0; k < list.m_nCount; ++k) {
            const bool adds = list.m_pEntries[k].m_dWeight > 0.0;
            most.emplace_back(45, static_cast<std::uint8_t>(adds ? 255 : 0));
            least.emplace_back(45, static_cast<std::uint8_t>(adds ? 0 : 255));
        }
        fnCheck(list, most, 0);
        fnCheck(list, least, 0);
    });
}

TEST_P(KernelsFixedPoint, EqualSamplesYieldTheirValue) {
    Bytes row(256);
    for (std::size_t i = 0; i < 256; ++i)
        row[i] = static_cast<std::uint8_t>(i);
    fnForEachList([&](const ContribList& list, int) {
        const std::vector<Bytes> rows(static_cast<std::size_t>(list.m_nCount), row);
        for (std::size_t i = 0; i < 256; ++i)
            ASSERT_EQ(fnPlainByte(list, rows, i), i);
        fnCheck(list, rows, 5);
    });
}

TEST_P(KernelsFixedPoint, IntegersAndOnePartBelowAreDistinguished) {
    fnForEachList([this](const ContribList& list, int denominator) {
        std::vector<Bytes> rows = fnRandomRows(list, 128);
        std::vector<int> parts(rows.size());
        std::transform(list.m_pEntries, list.m_pEntries + list.m_nCount, parts.begin(),
                       [&](const ContribEntry& entry) {
                           return static_cast<int>(std::lround(entry.m_dWeight * denominator));
                       });
        // Two samples in the middle are chosen so that each sum has the required remainder.
        const auto middle = static_cast<std::size_t>(list.m_nCount / 2);
        std::size_t found = 0;
        for (std::size_t i = 0; i < 128; ++i) {
            const int expected = i % 2 == 0 ? 0 : denominator - 1;
            int sum = 0;
            for (std::size_t k = 0; k < rows.size(); ++k)
                if (k != middle && k != middle - 1)
                    sum += parts[k] * rows[k][i];
            const int step = std::gcd(std::gcd(parts[middle], parts[middle - 1]), denominator);
            if ((expected - sum) % step != 0)
                continue; // not every remainder is possible
            const unsigned start = m_Random() % 65536;
            for (unsigned n = 0; n < 65536; ++n) {
                const unsigned both = (start + n) % 65536;
                const int all = sum + parts[middle] * static_cast<int>(both & 255) +
                                parts[middle - 1] * static_cast<int>(both >> 8);
                if ((all % denominator + denominator) % denominator == expected) {
                    rows[middle][i] = static_cast<std::uint8_t>(both & 255);
                    rows[middle - 1][i] = static_cast<std::uint8_t>(both >> 8);
                    ++found;
                    break;
                }
            }
        }
        ASSERT_GE(found, 16U);
        fnCheck(list, rows, 1);
    });
}

TEST_P(KernelsFixedPoint, OtherFactorsAndLongListsAreNotFixedPoint) {
    for (const double scale : {1333.0 / 4000.0, 0.25, 0.7, 1.1, 3.7, 6.0, 0.02, 1.0 / 3.0 + 1e-9}) {
        const ContribTable table(scale, 8, 3000);
        EXPECT_FALSE(table.fnIsFixedPoint()) << scale;
        EXPECT_GE(table[1].m_fErrorBound, 0.0F) << scale; // the fast sum is available
    }
    for (const double weight : {1.95, -1.95, 1e9, 1e300, std::nan("")}) {
        std::array<ContribEntry, 2> entries = {{{0, {0}, weight}, {0, {0}, 0.5}}};
        ContribList list = {2, 0, 0, 0, entries.data()};
        EXPECT_FALSE(fnSetFixedPointWeights(list)) << weight;
    }
    for (const int count : {128, 129}) {
        std::vector<ContribEntry> entries(static_cast<std::size_t>(count),
                                          ContribEntry{0, {0}, 0.0});
        entries[70].m_dWeight = 1.0;
        ContribList list = {count, 0, 0, 0, entries.data()};
        EXPECT_EQ(fnSetFixedPointWeights(list), count == 128);
    }
}

TEST_P(KernelsFixedPoint, AListOfOddLengthHasNoPartnerForItsLastEntry) {
    std::array<ContribEntry, 3> entries = {
        {{0, {0}, 1.0 / 18}, {1, {0}, 16.0 / 18}, {2, {0}, 1.0 / 18}}};
    ContribList list = {3, 0, 0, 0, entries.data()};
    ASSERT_TRUE(fnSetFixedPointWeights(list));
    ASSERT_EQ(list.m_FixedPoint.m_nPairs, 2);
    fnCheck(list, fnRandomRows(list, 100), 3);
}

TEST_P(KernelsFixedPoint, RunsCountEqualPixelsUpTo255) {
    constexpr std::size_t kPixels = 600;
    for (const std::size_t channels : {1U, 3U, 4U}) {
        const std::size_t stride = channels * kFilterLanes;
        Bytes lanes(kPixels * stride);
        Bytes expected(lanes.size());
        for (std::size_t i = 0; i < lanes.size(); ++i) {
            // Lanes change value rarely, often, or never.
            const bool goesOn = i >= stride && m_Random() % 300 >= i % stride % 3 * 100;
            lanes[i] = goesOn ? lanes[i - stride] : static_cast<std::uint8_t>(m_Random());
            if (i >= stride && lanes[i] == lanes[i - stride])
                expected[i] = static_cast<std::uint8_t>(std::min(expected[i - stride] + 1, 255));
        }
        const SourceBytes source(lanes, 3);
        TargetBytes runs(lanes.size(), 3);
        std::vector<float> samples(lanes.size());
        m_Kernels.fnReadLanes(source.fnGetData(), samples.data(), runs.fnGetData(), kPixels,
                              channels);
        EXPECT_EQ(samples, std::vector<float>(lanes.begin(), lanes.end()));
        EXPECT_TRUE(runs.fnHolds(expected));
    }
}

} // namespace
} // namespace q32::test
