#include "q32Base/kernels/QuadList_p.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/resampling/LineTable_p.h"
#include "q32Base/resampling/QuadTable_p.h"
#include "tests/kernels/KernelsTestTools.h"
#include "tests/support/Sanitizers.h"

#include <cmath>
#include <limits>

namespace q32::test {
namespace {

/// A list and its integer sum.
struct Summed {
    std::vector<ContribEntry> m_Entries;
    ContribList m_List;
    QuadList m_Quads = {};
    std::vector<QuadWeights> m_Weights;
    bool m_bComplete;

    Summed(const std::vector<ContribEntry>& entries, std::int32_t alignment)
        : m_Entries(entries), m_List{static_cast<std::int32_t>(entries.size()), 0, 0, 0,
                                     m_Entries.data()},
          m_Weights(fnFindMaxQuads(static_cast<std::uint32_t>(entries.size()))),
          m_bComplete(fnSetQuadWeights(m_List, alignment, m_Quads, m_Weights.data())) {}
    Summed(const Summed&) = delete;
    Summed& operator=(const Summed&) = delete;

    /// The integer weight of a pixel, put together from its bytes.
    std::int32_t fnWeight(std::int32_t pixel) const {
        const std::int32_t place = pixel - m_Quads.m_nFirst;
        if (place < 0 || place >= 4 * m_Quads.m_nQuads)
            return 0;
        const QuadWeights& quad = m_Weights[static_cast<std::size_t>(place) / 4];
        const auto part = [place](std::uint32_t bytes) {
            return static_cast<std::int8_t>(bytes >> 8 * (static_cast<unsigned>(place) % 4));
        };
        return part(quad.m_nHigh) * 65536 + part(quad.m_nMiddle) * 256 + part(quad.m_nLow);
    }
    double fnExact(const std::vector<Bytes>& samples, std::size_t at) const {
        double sum = 0.0;
        for (const ContribEntry& entry : m_Entries)
            sum += samples[static_cast<std::size_t>(entry.m_nPixel)][at] * entry.m_dWeight;
        return sum;
    }
    std::int64_t fnFast(const std::vector<Bytes>& samples, std::size_t at) const {
        std::int64_t sum = m_Quads.m_nBias;
        for (std::int32_t pixel = m_Quads.m_nLeast; pixel <= m_Quads.m_nMost; ++pixel)
            sum += std::int64_t{samples[static_cast<std::size_t>(pixel)][at]} * fnWeight(pixel);
        return sum;
    }
};

std::uint8_t fnPlainByte(double sum) {
    const double whole = std::trunc(sum + 1e-10);
    return static_cast<std::uint8_t>(whole > 0.0 ? std::min(whole, 255.0) : 0.0);
}

class KernelsQuads : public KernelsAtEachLevel {
protected:
    double fnUnit() { return static_cast<double>(m_Random()) / 4294967296.0; }

    std::vector<Bytes> fnRandomRows(std::size_t rows, std::size_t count) {
        std::vector<Bytes> all(rows);
        for (Bytes& row : all)
            row = fnRandomBytes(m_Random, count);
        return all;
    }

    /// Filters rows, one for each pixel, by the kernel for rows.
    void fnCheckRows(const std::vector<ContribEntry>& entries, const std::vector<Bytes>& rows,
                     std::size_t misalignment) {
        const Summed list(entries, 1);
        ASSERT_TRUE(list.m_bComplete);
        const std::size_t count = rows[0].size();
        std::vector<SourceBytes> sources;
        std::vector<const std::uint8_t*> addresses;
        for (const Bytes& row : rows)
            sources.emplace_back(row, misalignment);
        const std::int32_t end =
            std::max(list.m_Quads.m_nMost + 1, list.m_Quads.m_nFirst + 4 * list.m_Quads.m_nQuads);
        for (std::int32_t pixel = list.m_Quads.m_nLeast; pixel < end; ++pixel)
            addresses.push_back(
                sources[std::min(static_cast<std::size_t>(pixel), rows.size() - 1)].fnGetData());
        Bytes expected(count);
        for (std::size_t i = 0; i < count; ++i)
            expected[i] = fnPlainByte(list.fnExact(rows, i));
        TargetBytes target(count, misalignment);
        m_Kernels.fnConvolveQuadRows(addresses.data(), list.m_Quads, target.fnGetData(), count);
        ASSERT_TRUE(target.fnHolds(expected))
            << entries.size() << " entries, error bound " << list.m_Quads.m_nErrorBound;
    }

    /// The same rows as columns, by the kernels for quads: byte i of a row is channel i modulo
    /// `channels` of row i / `channels`.
    void fnCheckLanes(const std::vector<ContribEntry>& entries, const std::vector<Bytes>& rows,
                      std::size_t channels, std::size_t misalignment) {
        const Summed list(entries, 4);
        ASSERT_TRUE(list.m_bComplete);
        const std::size_t lanes = channels * kFilterLanes;
        const std::int32_t first = std::min(list.m_Quads.m_nFirst, list.m_Quads.m_nLeast) / 4 * 4;
        const auto pixels = static_cast<std::size_t>(list.m_Quads.m_nMost - first + 1);
        std::vector<SourceBytes> sources;
        std::vector<const std::uint8_t*> addresses;
        for (std::size_t r = 0; r < kFilterLanes; ++r) {
            Bytes row;
            for (std::size_t p = 0; p < pixels; ++p)
                for (std::size_t c = 0; c < channels; ++c)
                    row.push_back(
                        fnAt(rows, p + static_cast<std::size_t>(first), (r * channels + c)));
            sources.emplace_back(row, misalignment);
        }
        for (const SourceBytes& source : sources)
            addresses.push_back(source.fnGetData());
        Bytes quads((pixels + 3) / 4 * 4 * lanes);
        m_Kernels.fnRowsToQuads(addresses.data(), quads.data(), pixels, channels);
        const QuadList twice[] = {list.m_Quads, list.m_Quads};
        Bytes expected;
        for (std::size_t i = 0; i < 2 * lanes; ++i) {
            const std::size_t lane = i % lanes;
            const std::size_t at = lane % kFilterLanes * channels + lane / kFilterLanes;
            std::vector<Bytes> sample;
            for (const Bytes& row : rows)
                sample.push_back({row[at % row.size()]});
            expected.push_back(fnPlainByte(list.fnExact(sample, 0)));
        }
        const SourceBytes source(quads, 0);
        TargetBytes target(2 * lanes, misalignment);
        m_Kernels.fnConvolveQuads(source.fnGetData(), first, twice, 2, target.fnGetData(),
                                  channels);
        ASSERT_TRUE(target.fnHolds(expected))
            << entries.size() << " entries of " << channels << " channels, error bound "
            << list.m_Quads.m_nErrorBound;
    }

    void fnCheck(const std::vector<ContribEntry>& entries, const std::vector<Bytes>& rows) {
        fnCheckRows(entries, rows, m_Random() % 32);
        fnCheckLanes(entries, rows, 1 + m_Random() % 4, m_Random() % 32);
    }

    /// Filters parts of rows, whose first pixels are missing where no sum needs them.
    void fnCheckLines(const ContribTable& table, std::uint32_t count, std::size_t channels,
                      const std::vector<Bytes>& rows) {
        const QuadTable quads(table, count, 1);
        ASSERT_TRUE(quads.fnIsComplete());
        const LineTable lines(quads, count, static_cast<std::uint32_t>(channels));
        if (!lines.fnIsComplete())
            return;
        const std::size_t samples = count * channels;
        for (std::size_t first = 0; first < samples; first += 64 * (1 + m_Random() % 3)) {
            const std::size_t most = samples - first;
            const std::size_t length = m_Random() % 2 ? most : 1 + m_Random() % most;
            const std::size_t origin = fnFindOrigin(table, lines, channels, first, length);
            const std::size_t apart = m_Random() % 3; // bytes between the rows of the target
            Bytes readable;
            Bytes expected;
            for (const Bytes& row : rows) {
                readable.insert(readable.end(), row.begin() + static_cast<std::ptrdiff_t>(origin),
                                row.end());
                if (!expected.empty())
                    expected.resize(expected.size() + apart, std::uint8_t{7});
                for (std::size_t at = first; at < first + length; ++at)
                    expected.push_back(fnPlainSum(table, channels, row, at));
            }
            readable.resize(readable.size() + lines.fnGetReach(),
                            static_cast<std::uint8_t>(m_Random()));
            const SourceBytes source(readable, m_Random() % 32);
            TargetBytes target(Bytes(expected.size(), std::uint8_t{7}), m_Random() % 32);
            m_Kernels.fnConvolveLines({source.fnGetData(), origin, rows[0].size() - origin,
                                       target.fnGetData(), length + apart, rows.size()},
                                      lines.fnGetSums(), first, length);
            ASSERT_TRUE(target.fnHolds(expected))
                << rows.size() << " rows, " << count << " pixels of " << channels
                << " channels, from sample " << first;
        }
    }

    static std::vector<ContribEntry> fnEntriesOf(const ContribList& list) {
        return {list.m_pEntries, list.m_pEntries + list.m_nCount};
    }

private:
    /// The first byte that is read for these samples.
    static std::size_t fnFindOrigin(const ContribTable& table, const LineTable& lines,
                                    std::size_t channels, std::size_t first, std::size_t count) {
        // Groups of a block that have no sample to be written are read as well.
        std::size_t origin = lines.fnGetSums().m_pFirst[first / 16];
        for (std::size_t at = first / 16; at < (first + count + 63) / 64 * 4; ++at)
            origin = std::min<std::size_t>(origin, lines.fnGetSums().m_pFirst[at]);
        for (std::size_t at = first; at < first + count; ++at)
            for (const ContribEntry& entry :
                 fnEntriesOf(table[static_cast<std::uint32_t>(at / channels)]))
                origin = std::min(origin, static_cast<std::size_t>(entry.m_nPixel) * channels);
        return origin - origin % channels;
    }
    static std::uint8_t fnPlainSum(const ContribTable& table, std::size_t channels,
                                   const Bytes& row, std::size_t at) {
        double sum = 0.0;
        for (const ContribEntry& entry :
             fnEntriesOf(table[static_cast<std::uint32_t>(at / channels)]))
            sum += row[static_cast<std::size_t>(entry.m_nPixel) * channels + at % channels] *
                   entry.m_dWeight;
        return fnPlainByte(sum);
    }
    static std::uint8_t fnAt(const std::vector<Bytes>& rows, std::size_t pixel, std::size_t at) {
        const Bytes& row = rows[std::min(pixel, rows.size() - 1)];
        return row[at % row.size()];
    }
};

Q32_AT_EACH_LEVEL(KernelsQuads);

TEST_P(KernelsQuads, RowsBecomeQuadsOfEachChannel) {
    for (const std::size_t channels : {1U, 2U, 3U, 4U})
        for (std::size_t pixels = 0; pixels < 140; pixels += 1 + m_Random() % 3) {
            std::vector<SourceBytes> sources;
            std::vector<const std::uint8_t*> rows;
            const std::vector<Bytes> contents = fnRandomRows(kFilterLanes, pixels * channels);
            for (const Bytes& content : contents)
                sources.emplace_back(content, m_Random() % 32);
            for (const SourceBytes& source : sources)
                rows.push_back(source.fnGetData());
            Bytes expected((pixels + 3) / 4 * 4 * channels * kFilterLanes);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                const std::size_t block = i / (4 * kFilterLanes);
                const std::size_t pixel = block / channels * 4 + i % 4;
                if (pixel < pixels)
                    expected[i] =
                        contents[i / 4 % kFilterLanes][pixel * channels + block % channels];
            }
            TargetBytes target(expected.size(), m_Random() % 32);
            m_Kernels.fnRowsToQuads(rows.data(), target.fnGetData(), pixels, channels);
            ASSERT_TRUE(target.fnHolds(expected)) << pixels << " pixels of " << channels;
        }
}

TEST_P(KernelsQuads, SumsOfEveryFactorAreThoseOfDoubles) {
    for (const double scale : {0.01, 0.1, 0.2999, 1.0 / 3.0, 0.34, 0.5, 0.77, 1.0, 1.1, 1.5, 2.0,
                               3.0, 4.0, 5.0, 5.3, 1.0 + 3.0 * fnUnit(), fnUnit() + 0.02}) {
        const auto source = static_cast<std::uint32_t>(3 + m_Random() % 60);
        const auto count = static_cast<std::uint32_t>(std::ceil(source * scale));
        const ContribTable table(scale, count, source);
        for (std::uint32_t i = 0; i < count; i += m_Random() % 2 ? 1 : 3) {
            fnCheck(fnEntriesOf(table[i]), fnRandomRows(source, 1 + m_Random() % 200));
            if (HasFatalFailure())
                return;
        }
    }
}

TEST_P(KernelsQuads, SumsInOneCallAreThoseOfTheirLists) {
    const ContribTable table(0.3, 12, 40);
    const QuadTable quads(table, 12, 4);
    ASSERT_TRUE(quads.fnIsComplete());
    const Bytes samples = fnRandomBytes(m_Random, 40 * kFilterLanes);
    Bytes expected(12 * kFilterLanes);
    fnKernelsOfLevel(KernelLevel::SCALAR)
        ->fnConvolveQuads(samples.data(), 0, &quads[0], 12, expected.data(), 1);
    TargetBytes target(expected.size(), 1);
    m_Kernels.fnConvolveQuads(samples.data(), 0, &quads[0], 12, target.fnGetData(), 1);
    EXPECT_TRUE(target.fnHolds(expected));
}

TEST_P(KernelsQuads, SumsOfLinesAreThoseOfDoubles) {
    for (const double scale : {0.13, 0.2, 0.2999, 0.33325, 1.0 / 3.0, 0.5, 0.77, 1.0, 1.1, 2.0, 4.0,
                               5.3, 1.0 + 3.0 * fnUnit(), 0.13 + 0.8 * fnUnit()})
        for (const std::size_t channels : {1U, 2U, 3U, 4U}) {
            const auto source = static_cast<std::uint32_t>(1 + m_Random() % 200);
            const auto count = static_cast<std::uint32_t>(std::ceil(source * scale));
            const ContribTable table(scale, count, source);
            std::vector<Bytes> rows = fnRandomRows(1 + m_Random() % 7, source * channels);
            fnCheckLines(table, count, channels, rows);
            // Runs of equal pixels, such as white ones, interrupted here and there.
            for (Bytes& row : rows)
                for (std::size_t i = channels; i < row.size(); ++i)
                    if (i < row.size() / 3)
                        row[i] = 255;
                    else if (m_Random() % 50 != 0)
                        row[i] = row[i - channels];
            fnCheckLines(table, count, channels, rows);
            if (HasFatalFailure())
                return;
        }
}

TEST_P(KernelsQuads, LinesExistForReductionsToASeventh) {
    for (const std::uint32_t channels : {1U, 3U, 4U})
        for (const double scale : {1.0 / 7.0, 0.3333, 4.0, 0.05}) {
            const ContribTable table(scale, 40, 700);
            const QuadTable quads(table, 40, 1);
            EXPECT_EQ(LineTable(quads, 40, channels).fnIsComplete(), scale > 0.1);
        }
}

TEST_P(KernelsQuads, SumsBarelyBesideAnIntegerAreDecidedInDouble) {
    // The last weight makes the sum of byte 0 an integer and a little more or less: from far
    // inside to far outside the resolution of the integer sum.
    for (double off = 1e-13; off < 1e-2; off *= 3.1)
        for (const double sign : {-1.0, 1.0})
            for (const std::size_t taps : {1U, 2U, 4U, 5U, 13U, 161U, 499U}) {
                std::vector<ContribEntry> entries;
                std::vector<Bytes> rows = fnRandomRows(taps, 70);
                double sum = 0.0;
                for (std::size_t k = 0; k < taps; ++k) {
                    rows[k][0] = static_cast<std::uint8_t>(200 + m_Random() % 50);
                    entries.push_back({static_cast<std::int32_t>(k),
                                       {0},
                                       (0.5 + fnUnit()) / static_cast<double>(taps) * 0.9});
                    if (k + 1 < taps)
                        sum += rows[k][0] * entries[k].m_dWeight;
                }
                const double target = std::floor(sum) + 1.0 + sign * off;
                entries.back().m_dWeight = (target - sum) / rows.back()[0];
                fnCheck(entries, rows);
                if (HasFatalFailure())
                    return;
            }
}

TEST_P(KernelsQuads, IntegerSumsStayWithinTheirErrorBound) {
    for (int round = 0; round < fnRandomCases(2000); ++round) {
        std::vector<ContribEntry> entries;
        std::vector<Bytes> extremes;
        const std::size_t taps = 1 + m_Random() % 20;
        for (std::size_t k = 0; k < taps; ++k) {
            // Many weights lie midway between two integer ones.
            const double units = std::floor(fnUnit() * 3.6 * 4194304.0 / static_cast<double>(taps));
            const double half = round % 2 ? 0.4999 : fnUnit();
            entries.push_back({static_cast<std::int32_t>(k),
                               {0},
                               (units + half) / 4194304.0 * (m_Random() % 3 ? 0.5 : -0.5)});
        }
        const Summed list(entries, 1);
        ASSERT_TRUE(list.m_bComplete);
        if (list.m_Quads.m_nErrorBound == 0)
            continue;
        std::vector<Bytes> samples;
        for (const ContribEntry& entry : entries) {
            const double off =
                list.fnWeight(entry.m_nPixel) - entry.m_dWeight * 4194304.0; // at most 1 / 2
            ASSERT_LE(std::fabs(off), 0.5);
            samples.push_back({static_cast<std::uint8_t>(off > 0.0 ? 255 : 0),
                               static_cast<std::uint8_t>(off > 0.0 ? 0 : 255),
                               static_cast<std::uint8_t>(m_Random())});
        }
        for (std::size_t i = 0; i < 3; ++i) {
            const double exact = (list.fnExact(samples, i) + kFilterDust) * 4194304.0;
            const auto fast = static_cast<double>(list.fnFast(samples, i));
            ASSERT_LT(std::fabs(fast), 2147483648.0);
            ASSERT_GE(fast, exact);
            ASSERT_LT(fast - list.m_Quads.m_nErrorBound, exact);
        }
    }
}

TEST_P(KernelsQuads, SumsOfTheUsualFactorsNeedNoDoubles) {
    for (const double scale : {2.0, 3.0, 4.0, 5.0, 1.5, 0.5, 1.0 / 3.0}) {
        const auto count = static_cast<std::uint32_t>(std::lround(30 * scale));
        const ContribTable table(scale, count, 30);
        const QuadTable quads(table, count, 1);
        ASSERT_TRUE(quads.fnIsComplete());
        for (std::uint32_t i = 0; i < count; ++i)
            EXPECT_EQ(quads[i].m_nErrorBound, 0U) << scale << ", " << i;
    }
}

TEST_P(KernelsQuads, SumsBeyondBothEndsOfBytesAreClampedToThem) {
    for (const double scale : {0.3, 0.5, 1.1, 4.0}) {
        const ContribTable table(scale, 10, 40);
        for (std::uint32_t i = 0; i < 10; ++i)
            for (const bool most : {false, true}) {
                std::vector<Bytes> rows(40, Bytes(100));
                for (std::int32_t k = 0; k < table[i].m_nCount; ++k) {
                    const ContribEntry& entry = table[i].m_pEntries[k];
                    rows[static_cast<std::size_t>(entry.m_nPixel)].assign(
                        100, (entry.m_dWeight > 0.0) == most ? 255 : 0);
                }
                fnCheck(fnEntriesOf(table[i]), rows);
                if (HasFatalFailure())
                    return;
            }
    }
}

TEST_P(KernelsQuads, EqualBytesFollowTheRuleEvenWhenTheWeightsDoNotSumToOne) {
    for (const double off : {0.0, 1e-16, -1e-16, 3e-13, -3.93e-13, -4e-13, 1e-12, -1.001e-12,
                             -2e-11, 1e-10, -9e-11, -1e-6, 1e-6, -9e-4, 9e-4, -2e-3})
        for (const std::size_t taps : {1U, 3U, 4U, 13U, 81U, 101U}) {
            std::vector<ContribEntry> entries;
            double left = 1.0 + off;
            for (std::size_t k = 0; k < taps; ++k) {
                const double weight = k + 1 == taps ? left : left * fnUnit();
                left -= weight;
                entries.push_back({static_cast<std::int32_t>(k + 5), {0}, weight});
            }
            Bytes row(256);
            for (std::size_t i = 0; i < 256; ++i)
                row[i] = static_cast<std::uint8_t>(i);
            // The pixels around are different ones, and some of the samples deviate.
            std::vector<Bytes> rows(taps + 9, row);
            for (std::size_t k : {0U, 1U, 2U, 3U, 4U})
                rows[k] = rows[taps + 8 - k] = fnRandomBytes(m_Random, 256);
            for (int i = 0; i < 20; ++i) {
                std::uint8_t& byte = rows[5 + m_Random() % taps][m_Random() % 256];
                byte = static_cast<std::uint8_t>(byte ^ 1);
            }
            fnCheck(entries, rows);
            if (HasFatalFailure())
                return;
        }
}

TEST_P(KernelsQuads, OtherListsHaveNoIntegerSum) {
    for (const double weight :
         {1.95, -1.95, 3.0, 1e300, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(Summed({{0, {0}, weight}, {1, {0}, 0.25}}, 1).m_bComplete) << weight;
    for (const std::size_t count : {500U, 501U}) {
        std::vector<ContribEntry> entries;
        for (std::size_t k = 0; k < count; ++k)
            entries.push_back({static_cast<std::int32_t>(k), {0}, 1.0 / 500.0});
        EXPECT_EQ(Summed(entries, 4).m_bComplete, count == 500);
    }
    const ContribTable table(1.0 / 130.0, 3, 390);
    EXPECT_FALSE(QuadTable(table, 3, 1).fnIsComplete());
}

} // namespace
} // namespace q32::test
