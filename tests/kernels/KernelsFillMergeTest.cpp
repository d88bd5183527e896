#include "tests/kernels/KernelsTestTools.h"

namespace q32::test {
namespace {

class KernelsFill : public KernelsAtEachLevel {};
Q32_AT_EACH_LEVEL(KernelsFill);

TEST_P(KernelsFill, EveryPixelOfTheRunGetsThePixelsBytes) {
    for (std::size_t size = 1; size <= 4; ++size)
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            const Bytes pixel = fnRandomBytes(m_Random, size);
            Bytes expected;
            for (std::size_t i = 0; i < count; ++i)
                expected.insert(expected.end(), pixel.begin(), pixel.end());
            const SourceBytes source(pixel, misalignment);
            TargetBytes target(fnRandomBytes(m_Random, count * size), misalignment);
            m_Kernels.fnFill[size - 1](target.fnGetData(), count, source.fnGetData());
            ASSERT_TRUE(target.fnHolds(expected))
                << size << " bytes, " << count << " pixels, misaligned by " << misalignment;
        });
}

TEST_P(KernelsFill, RunsOfAMegabyteAndMoreAreFilledToTheLastByte) {
    for (std::size_t size = 1; size <= 4; ++size)
        for (std::size_t misalignment = 0; misalignment < 33; misalignment += 3) {
            const std::size_t count = ((std::size_t{1} << 20) + m_Random() % 500) / size + 1;
            const Bytes pixel = fnRandomBytes(m_Random, size);
            Bytes expected(count * size);
            for (std::size_t i = 0; i < expected.size(); ++i)
                expected[i] = pixel[i % size];
            TargetBytes target(expected.size(), misalignment);
            m_Kernels.fnFill[size - 1](target.fnGetData(), count, pixel.data());
            ASSERT_TRUE(target.fnHolds(expected))
                << size << " bytes, misaligned by " << misalignment;
        }
}

TEST_P(KernelsFill, RowsWithAStrideAreCopiedAndTheGapsAreNot) {
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        const std::size_t rows = m_Random() % 4;
        const std::size_t sourceStride = count + m_Random() % 40;
        const std::size_t targetStride = count + m_Random() % 40;
        // The last row ends the block, without a gap after it.
        const std::size_t last = rows == 0 ? 0 : rows - 1;
        const Bytes from = fnRandomBytes(m_Random, last * sourceStride + count);
        Bytes expected = fnRandomBytes(m_Random, last * targetStride + count);
        const SourceBytes source(from, misalignment);
        TargetBytes target(expected, misalignment);
        for (std::size_t row = 0; row < rows; ++row)
            for (std::size_t i = 0; i < count; ++i)
                expected[row * targetStride + i] = from[row * sourceStride + i];
        m_Kernels.fnCopyRows(source.fnGetData(), sourceStride, target.fnGetData(), targetStride,
                             count, rows);
        ASSERT_TRUE(target.fnHolds(expected)) << count << " bytes, " << rows << " rows";
    });
}

// The rules of merges in plain arithmetic, one pixel at a time.

struct Channels {
    unsigned red, green, blue;
};

Channels fnRead16(const std::uint8_t* p) {
    return {p[0] / 8 * 8u, 0, p[1] % 32 * 8u};
}

Bytes fnWritten16(const Channels& c) {
    const unsigned word = c.red / 8 * 2048 + c.green / 4 * 32 + c.blue / 8;
    return {static_cast<std::uint8_t>(word % 256), static_cast<std::uint8_t>(word / 256)};
}

Channels fnReadPixel(const std::uint8_t* p, std::size_t size) {
    return size == 2 ? fnRead16(p) : Channels{p[0], p[1], p[2]};
}

Bytes fnWritten(const Channels& c, std::size_t size) {
    if (size == 2)
        return fnWritten16(c);
    return {static_cast<std::uint8_t>(c.red), static_cast<std::uint8_t>(c.green),
            static_cast<std::uint8_t>(c.blue)};
}

unsigned fnBlend(unsigned under, unsigned over, unsigned weight) {
    return std::min(255u, under * (255 - weight) + over * weight);
}

void fnPut(Bytes& run, std::size_t at, const Bytes& pixel) {
    std::copy(pixel.begin(), pixel.end(), run.begin() + static_cast<std::ptrdiff_t>(at));
}

Bytes fnMergedByKey(const Bytes& source, const Bytes& target, std::size_t size, const Bytes& key) {
    Bytes result = target;
    for (std::size_t i = 0; i < source.size(); i += size) {
        const Channels over = fnReadPixel(&source[i], size);
        if (over.red != key[0] || over.green != key[1] || over.blue != key[2])
            fnPut(result, i, fnWritten(over, size));
    }
    return result;
}

Bytes fnMergedByMask(const Bytes& source, const Bytes& target, std::size_t size,
                     const Bytes& weights) {
    Bytes result = target;
    for (std::size_t i = 0; i < source.size(); i += size) {
        const unsigned weight = weights[i / size];
        const Channels over = fnReadPixel(&source[i], size);
        const Channels under = fnReadPixel(&target[i], size);
        if (weight == 255)
            fnPut(result, i, fnWritten(over, size));
        else if (weight != 0)
            fnPut(result, i,
                  fnWritten({fnBlend(under.red, over.red, weight),
                             fnBlend(under.green, over.green, weight),
                             fnBlend(under.blue, over.blue, weight)},
                            size));
    }
    return result;
}

class KernelsMerge : public KernelsAtEachLevel {
protected:
    /// Bytes that are often small, so that blends don't all reach 255.
    Bytes fnDarkBytes(std::size_t count) {
        Bytes bytes = fnRandomBytes(m_Random, count);
        for (std::uint8_t& byte : bytes)
            byte = m_Random() % 2 ? static_cast<std::uint8_t>(byte % 3) : byte;
        return bytes;
    }

    Bytes fnWeights(std::size_t count) {
        static constexpr std::uint8_t kOften[] = {0, 0, 255, 255, 1, 254, 128, 2};
        Bytes weights = fnRandomBytes(m_Random, count);
        for (std::uint8_t& weight : weights)
            weight = m_Random() % 4 ? kOften[m_Random() % std::size(kOften)] : weight;
        return weights;
    }
};
Q32_AT_EACH_LEVEL(KernelsMerge);

TEST_P(KernelsMerge, AKeyLeavesThePixelsOfItsColour) {
    for (const std::size_t size : {2u, 3u})
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            Bytes key = fnRandomBytes(m_Random, 3);
            if (size == 2 && m_Random() % 4)
                key = {static_cast<std::uint8_t>(key[0] & 0xF8), 0,
                       static_cast<std::uint8_t>(key[2] & (m_Random() % 4 ? 0xF8 : 0xFF))};
            Bytes source = fnRandomBytes(m_Random, count * size);
            for (std::size_t i = 0; i < source.size(); i += size) {
                if (m_Random() % 2) // the key, sometimes with one byte changed
                    fnPut(source, i,
                          size == 3
                              ? key
                              : Bytes{static_cast<std::uint8_t>(key[0] | m_Random() % 8),
                                      static_cast<std::uint8_t>(key[2] / 8 | m_Random() % 8 * 32)});
                if (m_Random() % 3 == 0)
                    source[i + m_Random() % size] ^= 8;
            }
            const Bytes under = fnRandomBytes(m_Random, source.size());
            const SourceBytes over(source, misalignment);
            TargetBytes target(under, misalignment);
            const auto kernel = size == 2 ? m_Kernels.fnMergeKey16 : m_Kernels.fnMergeKey24;
            kernel(over.fnGetData(), target.fnGetData(), count, key.data());
            ASSERT_TRUE(target.fnHolds(fnMergedByKey(source, under, size, key)))
                << size << " bytes, " << count << " pixels, misaligned by " << misalignment;
        });
}

TEST_P(KernelsMerge, AMaskBlendsEachPixelWithoutADivision) {
    for (const std::size_t size : {2u, 3u})
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            const Bytes source = fnDarkBytes(count * size);
            const Bytes under = fnDarkBytes(count * size);
            const Bytes weights = fnWeights(count);
            const SourceBytes over(source, misalignment);
            const SourceBytes mask(weights, (misalignment + 5) % 32);
            TargetBytes target(under, misalignment);
            const auto kernel = size == 2 ? m_Kernels.fnMergeMask16 : m_Kernels.fnMergeMask24;
            kernel(over.fnGetData(), target.fnGetData(), count, mask.fnGetData());
            ASSERT_TRUE(target.fnHolds(fnMergedByMask(source, under, size, weights)))
                << size << " bytes, " << count << " pixels, misaligned by " << misalignment;
        });
}

TEST_P(KernelsMerge, EveryWeightOfEveryPairOfChannelsFollowsTheRule) {
    for (unsigned weight = 0; weight < 256; ++weight) {
        Bytes source(3 * 96);
        Bytes under(3 * 96);
        for (std::size_t i = 0; i < source.size(); ++i) {
            source[i] = static_cast<std::uint8_t>(i % 17 < 4 ? i % 17 : m_Random());
            under[i] = static_cast<std::uint8_t>(i % 13 < 4 ? i % 13 : m_Random());
        }
        const Bytes weights(96, static_cast<std::uint8_t>(weight));
        TargetBytes target(under, 0);
        m_Kernels.fnMergeMask24(source.data(), target.fnGetData(), 96, weights.data());
        ASSERT_TRUE(target.fnHolds(fnMergedByMask(source, under, 3, weights))) << weight;
    }
}

TEST_P(KernelsMerge, AFull16BitMergeDropsGreenAndExchangesTheBytes) {
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        const Bytes source = fnRandomBytes(m_Random, 2 * count);
        const Bytes under = fnRandomBytes(m_Random, 2 * count);
        const SourceBytes over(source, misalignment);
        TargetBytes target(under, misalignment);
        m_Kernels.fnMergeAll16(over.fnGetData(), target.fnGetData(), count);
        ASSERT_TRUE(target.fnHolds(fnMergedByMask(source, under, 2, Bytes(count, 255)))) << count;
    });
}

class KernelsMask : public KernelsAtEachLevel {};
Q32_AT_EACH_LEVEL(KernelsMask);

TEST_P(KernelsMask, EveryPairOfWeightsIsAddedAndSubtractedByTheRule) {
    Bytes a;
    Bytes b;
    Bytes sums;
    Bytes differences;
    for (unsigned i = 0; i < 256; ++i)
        for (unsigned j = 0; j < 256; ++j) {
            a.push_back(static_cast<std::uint8_t>(i));
            b.push_back(static_cast<std::uint8_t>(j));
            const int sum = (i < 128 ? int(i) : int(i) - 256) + (j < 128 ? int(j) : int(j) - 256);
            sums.push_back(sum < -128 || sum > 127 ? 255 : static_cast<std::uint8_t>(i + j));
            differences.push_back(static_cast<std::uint8_t>(i > j ? i - j : 0));
        }
    TargetBytes sum(a, 0);
    m_Kernels.fnMaskAdd(sum.fnGetData(), b.data(), sum.fnGetData(), b.size());
    EXPECT_TRUE(sum.fnHolds(sums));
    TargetBytes difference(a, 0);
    m_Kernels.fnMaskSubtract(difference.fnGetData(), b.data(), difference.fnGetData(), b.size());
    EXPECT_TRUE(difference.fnHolds(differences));
}

TEST_P(KernelsMask, RunsOfEveryLengthStayInBounds) {
    const Kernels& plain = *fnKernelsOfLevel(KernelLevel::SCALAR);
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        const Bytes other = fnRandomBytes(m_Random, count);
        const Bytes own = fnRandomBytes(m_Random, count);
        const SourceBytes source(other, misalignment);
        for (const auto kernel : {&Kernels::fnMaskAdd, &Kernels::fnMaskSubtract}) {
            Bytes expected = own;
            (plain.*kernel)(own.data(), other.data(), expected.data(), count);
            TargetBytes target(own, misalignment);
            (m_Kernels.*kernel)(target.fnGetData(), source.fnGetData(), target.fnGetData(), count);
            ASSERT_TRUE(target.fnHolds(expected)) << count << " in place";
            const SourceBytes first(own, misalignment);
            TargetBytes third(count, misalignment);
            (m_Kernels.*kernel)(first.fnGetData(), source.fnGetData(), third.fnGetData(), count);
            ASSERT_TRUE(third.fnHolds(expected)) << count;
        }
    });
}

} // namespace
} // namespace q32::test
