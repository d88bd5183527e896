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

std::uint32_t fnPack(int low, int high) {
    return (static_cast<std::uint32_t>(low) & 0xFFFFu) | static_cast<std::uint32_t>(high) << 16;
}

} // namespace

// How far the whole numbers can be off. With n entries: a fine weight is rounded to a multiple of
// 2^-29, so each weight is off by 2^-30 at most and the sum of n bytes by 255 n 2^-30 < n 2^-22.
// Cutting the fine sum to 2^-22 takes off less than one unit. The sum of doubles, of terms that add
// up to less than 2 x 255 in size, is off the true sum by less than n 2^-53 x 512 < 2^-34, and
// kFilterDust shifts it by less than 2^-33: together less than one unit. So n + 4 units hold all of
// it.
//
// Nothing overflows: the coarse sum is below 255 x 2 x 2^14 + 255 n / 2 in size and has to stay
// below 2^31 / 2^8, and the fine sum is at most 255 n 2^14 < 2^31.
void fnSetWholeWeights(ContribList& list) {
    constexpr int kMostEntries = 500;
    constexpr double kMostWeight = 1.9;
    list.band = 0;
    list.flat = false;
    if (list.count > kMostEntries)
        return;
    double size = 0.0;
    double sum = 0.0;
    for (std::int32_t i = 0; i < list.count; ++i) {
        size += std::fabs(list.entries[i].weight);
        sum += list.entries[i].weight;
    }
    if (!(size < kMostWeight))
        return;
    list.band = static_cast<std::int16_t>(list.count + 4);
    // Equal bytes p: the sum of doubles is off p by less than 255 (1e-13 + n 2^-52) + n 2^-53 x 512
    // < 1e-10, and kFilterDust lifts it to p or more, and not to p + 1.
    list.flat = std::fabs(sum - 1.0) <= 1e-13;

    const auto split = [&list](std::int32_t i, int& coarse, int& fine) {
        coarse = fine = 0;
        if (i >= list.count)
            return;
        const double scaled = std::ldexp(list.entries[i].weight, ContribList::kCoarseBits);
        const double whole = std::nearbyint(scaled);
        coarse = static_cast<int>(whole);
        fine = static_cast<int>(std::nearbyint(std::ldexp(scaled - whole, ContribList::kFineBits)));
    };
    for (std::int32_t i = 0; i < list.count; i += 2) {
        int coarse[2];
        int fine[2];
        split(i, coarse[0], fine[0]);
        split(i + 1, coarse[1], fine[1]);
        if (i + 1 < list.count) {
            list.entries[i].pair = fnPack(coarse[0], coarse[1]);
            list.entries[i + 1].pair = fnPack(fine[0], fine[1]);
        } else {
            list.entries[i].pair = fnPack(coarse[0], fine[0]);
        }
    }
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
        list.entries[list.count++] = {fnReflect(j, srcCount), 0, k};
        sum += k;
    }
    if (std::fabs(sum - 1.0) > 1e-10) {
        const double factor = 1.0 / sum;
        for (std::int32_t k = 0; k < list.count; ++k)
            list.entries[k].weight *= factor;
    }
    fnSetWholeWeights(list);
}

} // namespace q32
