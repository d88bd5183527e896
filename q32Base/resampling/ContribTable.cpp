#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Epsilon.h"
#include "q32Base/resampling/ContribTable_p.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <numeric>

namespace q32 {
namespace {

/// The kernel at distance d; these constants and this order, since every bit of the result matters.
double fnKernel(double d) {
    constexpr double kSixth = 0.16666666666666666;
    if (d < 1.0)
        return ((7.0 * d - 12.0) * d * d + 5.333333333333333) * kSixth;
    if (d < 2.0)
        return ((12.0 - 2.3333333333333335 * d) * d * d - 20.0 * d + 10.666666666666666) * kSixth;
    return 0.0;
}

/// Index j reflected into the source: -j below 0 and 2 n - j - 1 from n on, as often as needed. The
/// pattern repeats after 2 n - 1 samples.
std::int32_t fnReflect(std::int64_t j, std::uint32_t srcCount) {
    const std::int64_t n = srcCount;
    const std::int64_t period = 2 * n - 1;
    std::int64_t at = j % period;
    if (at < 0)
        at += period;
    assert(at >= 0 && at < period);
    return static_cast<std::int32_t>(at < n ? at : period - at);
}

/// A weight in units of 1 / denominator, rounded; there may be a remainder.
int fnUnits(double weight, double denominator) {
    const double parts = weight * denominator;
    return static_cast<int>(parts + std::copysign(0.5, parts));
}

} // namespace

double fnWeightSize(const ContribList& list) {
    return std::accumulate(
        list.m_pEntries, list.m_pEntries + list.m_nCount, 0.0,
        [](double size, const ContribEntry& entry) { return size + std::fabs(entry.m_dWeight); });
}

double fnDenominator(const ContribList& list) {
    // Enlarging b times gives 18 b^3. Reducing to a half gives 288, and to a third 1458.
    for (const double denominator : {18.0, 144.0, 288.0, 486.0, 1152.0, 1458.0, 2250.0}) {
        double off = 0.0;
        // Nearly all fail at their first weight.
        for (std::int32_t i = 0; i < list.m_nCount && 255.0 * off < kFilterDust / 4.0; ++i) {
            const double weight = list.m_pEntries[i].m_dWeight;
            off += std::fabs(weight - fnUnits(weight, denominator) / denominator);
        }
        if (255.0 * off < kFilterDust / 4.0)
            return denominator;
    }
    return 0.0;
}

namespace {

/// A weight in units, split into a multiple of the radix 2^bits and the least remainder.
struct CutWeight {
    int m_nHigh;
    int m_nLow;
    CutWeight(int parts, int bits)
        : m_nHigh((parts + (1 << (bits - 1))) >> bits), m_nLow(parts - m_nHigh * (1 << bits)) {}
};

/// The bits of a radix at which neither part of any sum of bytes exceeds 16 bits, or 0.
int fnRadixBits(const ContribList& list, double denominator) {
    constexpr int kMax = 127; // times 255 is below 2^15
    for (int bits = 4; bits <= 6; ++bits) {
        int high = 0;
        int low = 0;
        for (std::int32_t i = 0; i < list.m_nCount && high <= kMax && low <= kMax; ++i) {
            const CutWeight cut(fnUnits(list.m_pEntries[i].m_dWeight, denominator), bits);
            high += std::abs(cut.m_nHigh);
            low += std::abs(cut.m_nLow);
        }
        if (high <= kMax && low <= kMax)
            return bits;
    }
    return 0;
}

} // namespace

/// Equal bytes p add up to p - p d, where d is 1 minus the sum of the weights. With n entries the
/// sum deviates from that by less than n 2^-45 for its additions and 2^-44 for its products, and p
/// d by less than 255 n 2^-53: together below 0.08 kFilterDust. So p d decides; only where it is
/// that close to kFilterDust does the sum itself.
std::int16_t fnFindFlatMax(const ContribList& list) {
    constexpr std::int32_t kMaxEntries = 100;
    const double sum = std::accumulate(
        list.m_pEntries, list.m_pEntries + list.m_nCount, 0.0,
        [](double all, const ContribEntry& entry) { return all + entry.m_dWeight; });
    const double lacking = 1.0 - sum;
    if (list.m_nCount > kMaxEntries || !(std::fabs(lacking) < 1e-3))
        return -1;
    const auto staysAt = [&](int p) {
        const double off = p * lacking;
        if (std::fabs(off - kFilterDust) > 0.08 * kFilterDust)
            return off < kFilterDust;
        double exact = 0.0;
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            exact += p * list.m_pEntries[k].m_dWeight;
        return exact + kFilterDust >= p;
    };
    int most = 255;
    if (lacking > 0.0 && 255.0 * lacking > 0.9 * kFilterDust)
        most = static_cast<int>(0.9 * kFilterDust / lacking);
    while (most < 255 && staysAt(most + 1))
        ++most;
    // Above the uncertain range no value stays the same; within it, one might after another that
    // doesn't.
    for (int p = most + 1; p <= 255 && p * lacking < 1.1 * kFilterDust; ++p)
        if (staysAt(p))
            return -1;
    return static_cast<std::int16_t>(most);
}

// Proof that the fixed-point sum M / D gives the byte of the sum of doubles, where D is the
// denominator and M the sum of bytes times weights in units. Both parts of each weight fit into a
// byte, and each part's sum, and that of any two products, into 16 bits: M itself is exact, and
// below 2^24 in size.
//
// The sum of doubles deviates from M / D by less than kFilterDust / 4 for the weights and by n
// 2^-43 for the roundings of its n entries: less than kFilterDust / 2 in all. With kFilterDust
// added it lies above M / D, and by less than 1 / D above it: truncated, both are the same integer,
// M / D being a multiple of 1 / D. Below 0 both are stored as 0.
//
// (M + 1/2) / D, too, is truncated to that integer, and lies 1 / (2 D) or more from any integer. It
// is computed in single precision, with three roundings: below 257 the error is less than 257 x 3 x
// 2^-24 < 1 / (2 D); above that the byte is 255 in any case.
bool fnSetFixedPointWeights(ContribList& list) {
    if (list.m_nCount > kMaxFixedPointEntries || !(fnWeightSize(list) < kMaxWeight))
        return false;
    const double denominator = fnDenominator(list);
    const int bits = denominator == 0.0 ? 0 : fnRadixBits(list, denominator);
    if (bits == 0)
        return false;
    const auto partsOf = [&](std::int32_t k) {
        return k < list.m_nCount ? fnUnits(list.m_pEntries[k].m_dWeight, denominator) : 0;
    };
    std::int32_t begin = 0;
    while (begin + 1 < list.m_nCount && partsOf(begin) == 0)
        ++begin;
    std::int32_t end = list.m_nCount;
    while (end > begin + 1 && partsOf(end - 1) == 0)
        --end;
    list.m_FixedPoint.m_fUnit = static_cast<float>(1.0 / denominator);
    list.m_FixedPoint.m_nRadix = static_cast<std::uint8_t>(1 << bits);
    list.m_FixedPoint.m_nBegin = static_cast<std::uint8_t>(begin);
    list.m_FixedPoint.m_nPairs = static_cast<std::uint8_t>((end - begin + 1) / 2);
    for (std::int32_t k = begin; k < end; k += 2) {
        const CutWeight one(partsOf(k), bits);
        const CutWeight other(partsOf(k + 1), bits);
        const int parts[] = {one.m_nLow, other.m_nLow, one.m_nHigh, other.m_nHigh};
        std::transform(parts, parts + 4, list.m_pEntries[k].m_Parts,
                       [](int part) { return static_cast<std::int8_t>(part); });
    }
    return true;
}

// The error bound of the fast sum. With u = 2^-24, weights of size W in all and n entries: a
// rounded weight is off by at most u times its size, all of them together by 255 W u. Each of the n
// steps, and the final subtraction of the error bound, rounds a number below 255 W + 1 in size: (n
// + 1) (255 W + 1) u. The sum of doubles itself is off the true one by less than n 2^-44, and
// kFilterDust shifts it; that is less than one more step. So (n + 4) (255 W + 1) u covers
// everything.
void fnSetApproximateWeights(ContribList& list) {
    constexpr int kMaxEntries = 500;
    static_assert(kMaxEntries < kWideSum);
    const double size = fnWeightSize(list);
    list.m_fBias = 0.0F;
    list.m_fErrorBound = -1.0F;
    list.m_nFlatMax = -1;
    if (list.m_nCount > kMaxEntries || !(size < kMaxWeight))
        return;
    for (std::int32_t i = 0; i < list.m_nCount; ++i)
        list.m_pEntries[i].m_fWeight = static_cast<float>(list.m_pEntries[i].m_dWeight);
    const double band = std::ldexp((list.m_nCount + 4) * (255.0 * size + 1.0), -24);
    const double denominator = fnDenominator(list);
    if (denominator != 0.0 && band * denominator < 0.49) {
        // Sums are multiples of 1 / denominator: raised by half of that, none comes close to an
        // integer.
        list.m_fBias = static_cast<float>(0.5 / denominator);
        list.m_fErrorBound = 0.0F;
        return;
    }
    list.m_fBias = static_cast<float>(band);
    list.m_fErrorBound = 2.0F * list.m_fBias;
    list.m_nFlatMax = fnFindFlatMax(list);
}

ContribTable::ContribTable(double scale, std::uint32_t dstCount, std::uint32_t srcCount, bool sums)
    : m_nWidth(scale >= 1.0 ? 2.0 : 2.0 / scale) {
    const double capacity = std::trunc(2.0 * m_nWidth + 1.5);
    constexpr double kMaxCapacity = 0x7FFFFFFF;
    if (!(scale > 0.0) || !(capacity < kMaxCapacity))
        AfxThrowMemoryException();
    m_nCapacity = static_cast<std::uint32_t>(capacity);
    const double bytes =
        dstCount * (sizeof(ContribList) + capacity * static_cast<double>(sizeof(ContribEntry)));
    if (!(bytes < static_cast<double>(std::numeric_limits<std::ptrdiff_t>::max())))
        AfxThrowMemoryException();
    m_pBlock.reset(fnNewArray<unsigned char>(static_cast<std::size_t>(bytes)));

    static_assert(sizeof(ContribList) % alignof(ContribEntry) == 0);
    static_assert(alignof(ContribList) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    m_pLists = new (m_pBlock.get()) ContribList[dstCount];
    auto* entries = new (m_pBlock.get() + dstCount * sizeof(ContribList))
        ContribEntry[static_cast<std::size_t>(dstCount) * m_nCapacity];
    for (std::uint32_t i = 0; i < dstCount; ++i, entries += m_nCapacity) {
        m_pLists[i].m_nCount = 0;
        m_pLists[i].m_pEntries = entries;
        fnFillList(m_pLists[i], i, scale, srcCount);
    }
    if (!sums)
        return;
    m_bFixedPoint = std::all_of(m_pLists, m_pLists + dstCount, fnSetFixedPointWeights);
    if (!m_bFixedPoint)
        std::for_each(m_pLists, m_pLists + dstCount, fnSetApproximateWeights);
}

void ContribTable::fnFillList(ContribList& list, std::uint32_t i, double scale,
                              std::uint32_t srcCount) const {
    const double step = 1.0 / scale;
    const double center = i * step;
    const auto left = static_cast<std::int64_t>(std::ceil(center - m_nWidth));
    const auto right =
        std::min(static_cast<std::int64_t>(std::floor(center + m_nWidth)), left + m_nCapacity - 1);
    double sum = 0.0;
    for (std::int64_t j = left; j <= right; ++j) {
        double d = std::fabs(center - static_cast<double>(j));
        if (scale < 1.0)
            d = d * scale;
        double k = fnKernel(d);
        if (scale < 1.0)
            k = k * scale;
        assert(static_cast<std::uint32_t>(list.m_nCount) < m_nCapacity);
        list.m_pEntries[list.m_nCount++] = {fnReflect(j, srcCount), {0.0F}, k};
        sum += k;
    }
    assert(list.m_nCount > 0); // what takes the least and the most pixel relies on it
    if (std::fabs(sum - 1.0) > kEpsilon) {
        const double factor = 1.0 / sum;
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            list.m_pEntries[k].m_dWeight *= factor;
    }
}

} // namespace q32
