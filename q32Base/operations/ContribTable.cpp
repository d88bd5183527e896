#include "q32Base/operations/ContribTable.h"

#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <new>

namespace q32 {
namespace {

/// The kernel at distance d; with these constants and in this order, since every bit counts.
double fnKernel(double d) {
    constexpr double kSixth = 0.16666666666666666;
    if (d < 1.0)
        return ((7.0 * d - 12.0) * d * d + 5.333333333333333) * kSixth;
    if (d < 2.0)
        return ((12.0 - 2.3333333333333335 * d) * d * d - 20.0 * d + 10.666666666666666) * kSixth;
    return 0.0;
}

/// Index j brought into the source: -j below 0 and 2 n - j - 1 from n on, as often as it takes.
/// That repeats after 2 n - 1 samples.
std::int32_t fnReflect(std::int64_t j, std::uint32_t srcCount) {
    const std::int64_t n = srcCount;
    const std::int64_t period = 2 * n - 1;
    std::int64_t at = j % period;
    if (at < 0)
        at += period;
    return static_cast<std::int32_t>(at < n ? at : period - at);
}

/// The denominator that all weights share, among those of the usual factors, or 0. Then a sum of
/// bytes is as good as a whole multiple of its reciprocal: the weights are off by so little that
/// kFilterDust makes up for it.
double fnDenominator(const ContribList& list) {
    // Enlarging b times gives 18 b^3; reducing to a half 288, and to a third 486.
    for (const double denominator : {18.0, 144.0, 288.0, 486.0, 1152.0, 2250.0}) {
        double off = 0.0;
        // Nearly all are given up at their first weight.
        for (std::int32_t i = 0; i < list.count && 255.0 * off < kFilterDust / 4.0; ++i) {
            const double parts = list.entries[i].weight * denominator;
            const int whole = static_cast<int>(parts + std::copysign(0.5, parts));
            off += std::fabs(parts - whole) / denominator;
        }
        if (255.0 * off < kFilterDust / 4.0)
            return denominator;
    }
    return 0.0;
}

} // namespace

// How far the fast sum can be off. With u = 2^-24, weights of size W in all and n entries: a
// rounded weight is off by u of its size, so all of them by 255 W u. Each of the n steps, and the
// final subtraction of `doubt`, rounds a number below 255 W + 1 in size: (n + 1) (255 W + 1) u. The
// sum of doubles itself is off the true one by less than n 2^-44, and kFilterDust shifts it; that
// is less than one step more. So (n + 4) (255 W + 1) u holds all of it.
void fnSetRoughWeights(ContribList& list) {
    constexpr int kMostEntries = 500;
    static_assert(kMostEntries < kWideSum);
    constexpr double kMostWeight = 1.9;
    double size = 0.0;
    double sum = 0.0;
    for (std::int32_t i = 0; i < list.count; ++i) {
        ContribEntry& entry = list.entries[i];
        size += std::fabs(entry.weight);
        sum += entry.weight;
    }
    list.bias = 0.0F;
    list.doubt = -1.0F;
    list.flat = false;
    if (list.count > kMostEntries || !(size < kMostWeight))
        return;
    for (std::int32_t i = 0; i < list.count; ++i)
        list.entries[i].rough = static_cast<float>(list.entries[i].weight);
    const double band = std::ldexp((list.count + 4) * (255.0 * size + 1.0), -24);
    const double denominator = fnDenominator(list);
    if (denominator != 0.0 && band * denominator < 0.49) {
        // Sums lie that far apart: raised by half a step, none comes near to a whole number.
        list.bias = static_cast<float>(0.5 / denominator);
        list.doubt = 0.0F;
        return;
    }
    list.bias = static_cast<float>(band);
    list.doubt = 2.0F * list.bias;
    // Equal bytes p: the sum of doubles is off p by less than 255 (1e-13 + n 2^-52) + n 2^-53 x 512
    // < 1e-10, and kFilterDust lifts it to p or more, and not to p + 1.
    list.flat = std::fabs(sum - 1.0) <= 1e-13;
}

ContribTable::ContribTable(double scale, std::uint32_t dstCount, std::uint32_t srcCount)
    : m_nWidth(scale >= 1.0 ? 2.0 : 2.0 / scale) {
    const double capacity = std::trunc(2.0 * m_nWidth + 1.5);
    constexpr double kMostCapacity = 0x7FFFFFFF;
    if (!(scale > 0.0) || !(capacity < kMostCapacity))
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
        m_pLists[i].count = 0;
        m_pLists[i].entries = entries;
        fnFillList(m_pLists[i], i, scale, srcCount);
    }
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
        list.entries[list.count++] = {fnReflect(j, srcCount), 0.0F, k};
        sum += k;
    }
    if (std::fabs(sum - 1.0) > 1e-10) {
        const double factor = 1.0 / sum;
        for (std::int32_t k = 0; k < list.count; ++k)
            list.entries[k].weight *= factor;
    }
    fnSetRoughWeights(list);
}

} // namespace q32
