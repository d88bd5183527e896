#include "q32Base/resampling/ContribTable_p.h"
#include "tests/kernels/KernelsTestTools.h"
#include "tests/support/Sanitizers.h"

#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

namespace q32::test {
namespace {

class KernelsFilter : public KernelsAtEachLevel {
protected:
    double fnUnit() { return static_cast<double>(m_Random()) / 4294967296.0; }

    /// Midway between two floats, where the rounding error is largest.
    static double fnBetweenFloats(double value) {
        const auto low = static_cast<float>(value);
        return (static_cast<double>(low) + std::nextafter(low, 4.0F)) / 2.0;
    }

    static std::uint8_t fnPlainByte(const std::vector<ContribEntry>& entries,
                                    const Bytes& samples) {
        double sum = 0.0;
        for (std::size_t k = 0; k < entries.size(); ++k)
            sum += samples[k] * entries[k].m_dWeight;
        const double whole = std::trunc(sum + 1e-10);
        return static_cast<std::uint8_t>(std::min(std::max(whole, 0.0), 255.0));
    }

    /// Filters rows of samples by the rule and by both kernels.
    void fnCheck(std::vector<ContribEntry> entries, const std::vector<Bytes>& rows,
                 std::size_t misalignment) {
        ContribList list = {static_cast<std::int32_t>(entries.size()), 0, 0, 0, entries.data()};
        fnSetApproximateWeights(list);
        const std::size_t count = rows[0].size();
        Bytes expected(count);
        // Each row is a separate block, so that reads beyond it are detected.
        std::vector<std::vector<float>> sources;
        std::vector<const float*> addresses;
        for (const Bytes& row : rows) {
            sources.emplace_back(row.begin(), row.end());
            addresses.push_back(sources.back().data());
        }
        for (std::size_t i = 0; i < count; ++i) {
            Bytes samples;
            for (const Bytes& row : rows)
                samples.push_back(row[i]);
            expected[i] = fnPlainByte(entries, samples);
        }
        TargetBytes target(count, misalignment);
        m_Kernels.fnConvolveRows(addresses.data(), list, target.fnGetData(), count);
        ASSERT_TRUE(target.fnHolds(expected))
            << entries.size() << " entries, error bound " << list.m_fErrorBound;

        if (count < kFilterLanes)
            return;
        // The same as lanes, two blocks per pixel, the entries' rows in reverse order.
        constexpr std::size_t kStride = 2 * kFilterLanes;
        std::vector<float> lanes(rows.size() * kStride);
        for (std::size_t k = 0; k < rows.size(); ++k) {
            const std::size_t at = rows.size() - 1 - k;
            entries[k].m_nPixel = static_cast<std::int32_t>(5 + at);
            for (std::size_t i = 0; i < kStride; ++i)
                lanes[at * kStride + i] = rows[k][i % kFilterLanes];
        }
        TargetBytes blocks(kStride, misalignment);
        Bytes runs(lanes.size());
        const Bytes bytes(lanes.begin(), lanes.end());
        m_Kernels.fnReadLanes(bytes.data(), lanes.data(), runs.data(), rows.size(), 2);
        m_Kernels.fnConvolveLanes({lanes.data(), bytes.data(), runs.data(), 5}, list,
                                  blocks.fnGetData(), 2);
        expected.resize(kFilterLanes);
        for (std::size_t i = 0; i < kFilterLanes; ++i)
            expected.push_back(expected[i]);
        ASSERT_TRUE(blocks.fnHolds(expected))
            << entries.size() << " entries, error bound " << list.m_fErrorBound;
    }
};

Q32_AT_EACH_LEVEL(KernelsFilter);

TEST_P(KernelsFilter, SumsAreThoseOfDoublesForEveryCount) {
    for (std::size_t count = 0; count <= 140; ++count) {
        const std::size_t taps = 1 + m_Random() % 30;
        std::vector<ContribEntry> entries;
        for (std::size_t k = 0; k < taps; ++k)
            entries.push_back({0, {0}, (fnUnit() * 4.0 - 1.0) / static_cast<double>(taps)});
        std::vector<Bytes> rows;
        for (std::size_t k = 0; k < taps; ++k)
            rows.push_back(fnRandomBytes(m_Random, count));
        if (count != 0)
            fnCheck(entries, rows, m_Random() % 32);
    }
}

TEST_P(KernelsFilter, SumsBarelyBelowAnIntegerAreDecidedInDouble) {
    // The last weight makes the sum of byte 0 an integer and a little more or less: from far
    // inside to far outside the resolution of single precision.
    for (double off = 1e-13; off < 1e-3; off *= 1.3)
        for (const double sign : {-1.0, 1.0})
            for (const std::size_t taps : {1u, 2u, 4u, 5u, 13u, 161u, 499u, 501u}) {
                std::vector<ContribEntry> entries;
                std::vector<Bytes> rows;
                double sum = 0.0;
                for (std::size_t k = 0; k < taps; ++k) {
                    rows.push_back(fnRandomBytes(m_Random, 64));
                    rows.back()[0] = static_cast<std::uint8_t>(200 + m_Random() % 50);
                    entries.push_back({0, {0}, (0.5 + fnUnit()) / static_cast<double>(taps) * 0.9});
                    if (k + 1 < taps)
                        sum += rows[k][0] * entries[k].m_dWeight;
                }
                const double target = std::floor(sum) + 1.0 + sign * off;
                entries.back().m_dWeight = (target - sum) / rows.back()[0];
                fnCheck(entries, rows, 0);
                if (HasFatalFailure())
                    return;
            }
}

TEST_P(KernelsFilter, FastSumsStayWithinTheirErrorBound) {
    for (int round = 0; round < fnRandomCases(5000); ++round) {
        // With few entries, rounded weights account for most of the error bound.
        const std::size_t taps = 1 + m_Random() % 6;
        const double size = 0.9 + 0.99 * fnUnit();
        std::vector<double> shares;
        double all = 0.0;
        for (std::size_t k = 0; k < taps; ++k) {
            shares.push_back(0.1 + fnUnit());
            all += shares.back();
        }
        std::vector<ContribEntry> entries;
        for (std::size_t k = 0; k < taps; ++k)
            entries.push_back(
                {0, {0}, (k % 2 ? -1.0 : 1.0) * fnBetweenFloats(size * shares[k] / all)});
        ContribList list = {static_cast<std::int32_t>(taps), 0, 0, 0, entries.data()};
        fnSetApproximateWeights(list);
        ASSERT_GT(list.m_fErrorBound, 0.0F);
        double exact = 0.0;
        float fast = list.m_fBias;
        for (const ContribEntry& entry : entries) {
            const auto sample =
                static_cast<unsigned>((entry.m_dWeight > 0.0 ? 253 : 0) + m_Random() % 3);
            exact += sample * entry.m_dWeight;
            fast = std::fma(static_cast<float>(sample), entry.m_fWeight, fast);
        }
        ASSERT_GE(fast, exact + kFilterDust) << taps << " entries of " << size;
        ASSERT_LE(fast - list.m_fErrorBound, exact + kFilterDust) << taps << " entries of " << size;
        ASSERT_LE(std::fabs(fast - list.m_fBias - exact), list.m_fBias);
    }
}

TEST_P(KernelsFilter, SumsNearTheLimitsOfAByteAreThoseOfDoubles) {
    for (const double whole : {0.0, 1.0, 254.0, 255.0, 256.0})
        for (double off = 1e-9; off < 1e-3; off *= 1.5)
            for (const double sign : {-1.0, 1.0})
                for (std::size_t taps = 2; taps <= 6; ++taps) {
                    // The weights of high samples sum to about whole / 254, of low ones down to
                    // -0.85.
                    std::vector<ContribEntry> entries;
                    std::vector<Bytes> rows;
                    double sum = 0.0;
                    for (std::size_t k = 0; k + 1 < taps; ++k) {
                        const bool low = k % 2 == 0;
                        const double most = low ? 0.85 / 3.0 : whole / 254.0 / 3.0;
                        entries.push_back(
                            {0, {0}, fnBetweenFloats(most * fnUnit()) * (low ? -1.0 : 1.0)});
                        rows.emplace_back(
                            70, static_cast<std::uint8_t>((low ? 0 : 253) + m_Random() % 3));
                        sum += rows.back()[0] * entries.back().m_dWeight;
                    }
                    rows.emplace_back(70, static_cast<std::uint8_t>(253 + m_Random() % 3));
                    entries.push_back({0, {0}, (whole + sign * off - sum) / rows.back()[0]});
                    ContribList list = {static_cast<std::int32_t>(taps), 0, 0, 0, entries.data()};
                    fnSetApproximateWeights(list);
                    ASSERT_GE(list.m_fErrorBound, 0.0F); // the fast sum is taken
                    fnCheck(entries, rows, 1);
                    if (HasFatalFailure())
                        return;
                }
}

TEST_P(KernelsFilter, EqualBytesFollowTheRuleEvenWhenTheWeightsDoNotSumToOne) {
    for (const double off :
         {0.0,       1e-16, -1e-16, 1e-13,        -1e-13, 3e-13,  -3e-13,     -3.9e-13,  -3.92e-13,
          -3.94e-13, 4e-13, -4e-13, -4.3e-13,     1e-12,  -1e-12, -1.001e-12, -9.99e-13, 2e-11,
          -2e-11,    1e-11, -9e-11, -1e-10 / 7.0, -1e-6,  1e-6,   -9e-4,      9e-4,      -2e-3})
        for (const std::size_t taps : {1u, 3u, 4u, 13u, 81u, 101u}) {
            std::vector<ContribEntry> entries;
            double left = 1.0 + off;
            for (std::size_t k = 0; k < taps; ++k) {
                const double weight = k + 1 == taps ? left : left * fnUnit();
                left -= weight;
                entries.push_back({0, {0}, weight});
            }
            Bytes row(256);
            for (std::size_t i = 0; i < 256; ++i)
                row[i] = static_cast<std::uint8_t>(i);
            fnCheck(entries, std::vector<Bytes>(taps, row), 3);
            if (HasFatalFailure())
                return;
        }
}

TEST_P(KernelsFilter, WeightsBeyondSinglePrecisionAreSummedInDouble) {
    for (const double weight : {1.95, -1.95, 3.0, 1e9, -1e9, 1e300, std::nan(""),
                                std::numeric_limits<double>::infinity()}) {
        std::vector<ContribEntry> entries = {{0, {0}, weight}, {0, {0}, 0.25}};
        std::vector<Bytes> rows = {fnRandomBytes(m_Random, 70), fnRandomBytes(m_Random, 70)};
        ContribList list = {2, 0, 0, 0, entries.data()};
        fnSetApproximateWeights(list);
        EXPECT_LT(list.m_fErrorBound, 0.0F);
        Bytes scalar(70);
        Bytes here(70);
        const std::vector<float> floats[] = {{rows[0].begin(), rows[0].end()},
                                             {rows[1].begin(), rows[1].end()}};
        const float* addresses[] = {floats[0].data(), floats[1].data()};
        fnKernelsOfLevel(KernelLevel::SCALAR)->fnConvolveRows(addresses, list, scalar.data(), 70);
        m_Kernels.fnConvolveRows(addresses, list, here.data(), 70);
        EXPECT_EQ(here, scalar) << weight;
        if (std::isfinite(weight))
            fnCheck(entries, rows, 1);
    }
}

TEST_P(KernelsFilter, SumsOfIntegerRatiosNeverNeedTheDoubleFallbackAndAreExact) {
    for (const int denominator : {18, 144, 288, 486, 1152, 2250})
        for (int round = 0; round < fnRandomCases(40); ++round) {
            // Weights in units; the last one completes the sum.
            std::vector<ContribEntry> entries;
            int left = denominator;
            const std::size_t taps = 2 + m_Random() % 7;
            for (std::size_t k = 0; k < taps; ++k) {
                const int part = k + 1 == taps ? left
                                               : static_cast<int>(m_Random() % 400) * denominator /
                                                         (static_cast<int>(taps) * 400) -
                                                     denominator / 200;
                left -= part;
                entries.push_back({0, {0}, static_cast<double>(part) / denominator});
            }
            ContribList list = {static_cast<std::int32_t>(taps), 0, 0, 0, entries.data()};
            fnSetApproximateWeights(list);
            EXPECT_EQ(list.m_fErrorBound, 0.0F) << denominator << ", " << taps << " entries";
            std::vector<Bytes> rows;
            for (std::size_t k = 0; k < taps; ++k)
                rows.push_back(fnRandomBytes(m_Random, 200));
            // Integer sums, and sums one part below.
            for (std::size_t k = 0; k < taps; ++k)
                std::fill_n(rows[k].begin(), 100, static_cast<std::uint8_t>(40 + k));
            fnCheck(entries, rows, m_Random() % 32);
            if (HasFatalFailure())
                return;
        }
}

TEST_P(KernelsFilter, RowsBecomeLanesAndBack) {
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        std::vector<SourceBytes> sources;
        std::vector<TargetBytes> targets;
        std::vector<Bytes> contents;
        const std::uint8_t* from[kFilterLanes];
        std::uint8_t* to[kFilterLanes];
        Bytes expected(count * kFilterLanes);
        for (std::size_t r = 0; r < kFilterLanes; ++r) {
            contents.push_back(fnRandomBytes(m_Random, count));
            sources.emplace_back(contents[r], misalignment);
            targets.emplace_back(count, misalignment);
            for (std::size_t i = 0; i < count; ++i)
                expected[i * kFilterLanes + r] = contents[r][i];
        }
        for (std::size_t r = 0; r < kFilterLanes; ++r) {
            from[r] = sources[r].fnGetData();
            to[r] = targets[r].fnGetData();
        }
        TargetBytes transposed(expected.size(), misalignment);
        m_Kernels.fnRowsToLanes(from, transposed.fnGetData(), count);
        ASSERT_TRUE(transposed.fnHolds(expected)) << count;
        const SourceBytes lanes(expected, misalignment);
        m_Kernels.fnLanesToRows(lanes.fnGetData(), to, count);
        std::vector<float> samples(count);
        m_Kernels.fnBytesToFloats(sources[0].fnGetData(), samples.data(), count);
        ASSERT_EQ(samples, std::vector<float>(contents[0].begin(), contents[0].end())) << count;
        for (std::size_t r = 0; r < kFilterLanes; ++r)
            ASSERT_TRUE(targets[r].fnHolds(contents[r])) << count;
    });
}

TEST_P(KernelsFilter, BlocksAreTransposedWithStridesOfEitherSign) {
    for (int round = 0; round < fnRandomCases(600); ++round) {
        const std::size_t bytes = 1 + m_Random() % 4;
        const std::size_t width = 1 + m_Random() % (round % 2 ? 40 : 130);
        const std::size_t height = 1 + m_Random() % (round % 2 ? 70 : 130);
        const std::size_t wide = width * bytes + m_Random() % 3;
        const std::size_t high = height * bytes + m_Random() % 3;
        const bool up = m_Random() % 2;
        const bool back = m_Random() % 2;
        // Both blocks end with the last pixel, so that an access beyond it is detected.
        const Bytes content = fnRandomBytes(m_Random, wide * (height - 1) + width * bytes);
        const SourceBytes source(content, m_Random() % 32);
        TargetBytes target(high * (width - 1) + height * bytes, m_Random() % 32);
        Bytes expected = target.fnContent();
        for (std::size_t i = 0; i < width; ++i)
            for (std::size_t j = 0; j < height; ++j)
                std::copy_n(&content[(up ? height - 1 - j : j) * wide + i * bytes], bytes,
                            &expected[(back ? width - 1 - i : i) * high + j * bytes]);
        const auto sourceStride = static_cast<std::ptrdiff_t>(wide);
        const auto targetStride = static_cast<std::ptrdiff_t>(high);
        m_Kernels.fnTranspose[bytes - 1](source.fnGetData() + (up ? (height - 1) * wide : 0),
                                         up ? -sourceStride : sourceStride,
                                         target.fnGetData() + (back ? (width - 1) * high : 0),
                                         back ? -targetStride : targetStride, width, height);
        ASSERT_TRUE(target.fnHolds(expected)) << bytes << " bytes, " << width << " x " << height;
    }
}

TEST_P(KernelsFilter, RotationsSampleLikeTheScalarKernels) {
    const Kernels& scalar = *fnKernelsOfLevel(KernelLevel::SCALAR);
    for (int round = 0; round < fnRandomCases(200); ++round) {
        constexpr int kSide = 192;
        const Bytes content =
            round % 4 == 0 ? Bytes(kSide * kSide * 4 + 8, static_cast<std::uint8_t>(m_Random()))
                           : fnRandomBytes(m_Random, kSide * kSide * 4 + 8);
        const double angle = round % 7 == 0 ? 0.0 : fnUnit() * 6.3;
        const std::size_t count = 1 + m_Random() % 60;
        RotateRows rows;
        rows.m_dCosine = std::cos(angle);
        rows.m_dSine = std::sin(angle);
        for (std::size_t r = 0; r < kRotateRows; ++r) {
            rows.m_dX[r] = fnUnit() * 60.0 - 30.0;
            rows.m_dY[r] = 1096.0 + (r == 2 ? 0.5 : fnUnit() * 60.0 - 30.0);
            if (r == 3)
                rows.m_dX[r] = -0.5 * static_cast<double>(m_Random() % 8);
        }
        if (round % 3 == 0) { // up to the last pixel, and from the last column and row
            const auto steps = static_cast<double>(count - 1);
            rows.m_dX[0] = -96.0 + 190.9 - std::max(0.0, rows.m_dCosine * steps);
            rows.m_dY[0] = 1000.0 + 190.9 - std::max(0.0, -rows.m_dSine * steps);
        }
        for (const auto& [run, bytes] : {std::pair{&Kernels::fnRotateNearest8, 1u},
                                         {&Kernels::fnRotateNearest24, 3u},
                                         {&Kernels::fnRotateNearest32, 4u},
                                         {&Kernels::fnRotateBilinear8, 1u},
                                         {&Kernels::fnRotateBilinear24, 3u},
                                         {&Kernels::fnRotateBilinear32, 4u}}) {
            // Exactly the bytes that the kernels may read.
            const Bytes block(content.begin(), content.begin() + kSide * kSide * bytes + 8);
            const RotateSource source = {block.data(), kSide, -96.0, 1000.0};
            std::vector<Bytes> expected(kRotateRows, Bytes(count * bytes));
            std::vector<TargetBytes> targets(kRotateRows, TargetBytes(count * bytes, 3));
            for (std::size_t r = 0; r < kRotateRows; ++r)
                rows.m_pTarget[r] = expected[r].data();
            (scalar.*run)(source, rows, count);
            for (std::size_t r = 0; r < kRotateRows; ++r)
                rows.m_pTarget[r] = targets[r].fnGetData();
            (m_Kernels.*run)(source, rows, count);
            for (std::size_t r = 0; r < kRotateRows; ++r)
                ASSERT_TRUE(targets[r].fnHolds(expected[r])) << bytes << " bytes, row " << r;
        }
    }
}

TEST_P(KernelsFilter, FlatRotationsGiveWhatSamplesOfOnePixelGive) {
    const Kernels& scalar = *fnKernelsOfLevel(KernelLevel::SCALAR);
    bool differed = false;
    for (int round = 0; round < fnRandomCases(200); ++round) {
        constexpr int kSide = 64;
        Bytes pixel = fnRandomBytes(m_Random, 4);
        for (std::uint8_t& byte : pixel)
            byte = m_Random() % 3 == 0 ? pixel[0] : m_Random() % 3 == 0 ? std::uint8_t{0} : byte;
        const double angle = fnUnit() * 6.3;
        const std::size_t count = 1 + m_Random() % 30;
        RotateRows rows;
        rows.m_dCosine = std::cos(angle);
        rows.m_dSine = std::sin(angle);
        for (std::size_t r = 0; r < kRotateRows; ++r) {
            rows.m_dX[r] = fnUnit() - 0.5;
            rows.m_dY[r] = fnUnit() - 0.5;
        }
        for (const auto& [flat, run, bytes] :
             {std::tuple{&Kernels::fnRotateFlat8, &Kernels::fnRotateBilinear8, 1u},
              {&Kernels::fnRotateFlat24, &Kernels::fnRotateBilinear24, 3u},
              {&Kernels::fnRotateFlat32, &Kernels::fnRotateBilinear32, 4u}}) {
            Bytes block;
            for (int i = 0; i < kSide * kSide; ++i)
                block.insert(block.end(), pixel.begin(), pixel.begin() + bytes);
            block.resize(block.size() + 8);
            const RotateSource source = {block.data(), kSide, -32.0, -32.0};
            std::vector<Bytes> expected(kRotateRows, Bytes(count * bytes));
            std::vector<TargetBytes> targets(kRotateRows, TargetBytes(count * bytes, 3));
            for (std::size_t r = 0; r < kRotateRows; ++r)
                rows.m_pTarget[r] = expected[r].data();
            (scalar.*run)(source, rows, count);
            for (std::size_t r = 0; r < kRotateRows; ++r)
                rows.m_pTarget[r] = targets[r].fnGetData();
            (m_Kernels.*flat)(pixel.data(), rows, count);
            for (std::size_t r = 0; r < kRotateRows; ++r) {
                ASSERT_TRUE(targets[r].fnHolds(expected[r])) << bytes << " bytes, row " << r;
                for (std::size_t i = 0; i < count * bytes; ++i)
                    differed |= expected[r][i] != pixel[i % bytes];
            }
        }
    }
    EXPECT_TRUE(differed); // else a fill would do
}

} // namespace
} // namespace q32::test
