#pragma once

#include "q32Base/framework/Memory.h"
#include "q32Base/operations/Blur_p.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

namespace q32 {

/// Convolves a series of lines with the kernel of a blur, all samples of a line side by side. Lines
/// before the first and after the last are equal to these.
///
/// Three boxes in a row are three running sums, which a new line enters through the differences
/// that begin and end each box: 1, -2, 1, -1, 2, -1 times the lines 0, w, 2 w, v, v + w and v + 2 w
/// back, where w is the width of two boxes and v that of the third. So no line in between is kept,
/// and the sums are exact modulo 2^32 or 2^64 whatever the first two sums wrap to.
///
/// Samples are bytes, or planes of alpha and of each channel times alpha.
/// @tparam Sum  std::uint32_t, if no sum reaches 2^31, or std::uint64_t
template <typename Sum>
class LineBlur {
public:
    /// @param most   the most lines of a series
    /// @param width  the most samples of a line
    /// @param step   how many lines are fetched at a time
    /// @param alpha  whether lines are four planes
    LineBlur(const BlurKernel& kernel, std::uint32_t most, std::size_t width, std::uint32_t step,
             bool alpha)
        : m_Kernel(kernel), m_nReach(kernel.fnGetReach()), m_nStep(step), m_bAlpha(alpha) {
        const std::uint64_t needed =
            std::min<std::uint64_t>(fnGetLag() + std::uint64_t{1} + step, most);
        m_nRing = static_cast<std::size_t>((needed + step - 1) / step * step);
        if (width > static_cast<std::size_t>(-1) / m_nRing)
            AfxThrowMemoryException();
        m_pRing.reset(fnNewArray<std::uint16_t>(m_nRing * width));
        m_pSums.reset(fnNewArray<Sum>(kSums * width));
        m_pBytes.reset(fnNewArray<unsigned char>(width));
    }

    /// Convolves `lines` lines of `width` samples. Calls `fetch(first, count, samples)` for the
    /// samples of lines, in their order, and `store(line, bytes)` for each result: four planes too,
    /// of alpha and the channels, which are no longer multiplied by it.
    template <typename Fetch, typename Store>
    void fnRun(std::uint32_t lines, std::size_t width, Fetch fetch, Store store) {
        m_nLast = lines - 1;
        m_nWidth = width;
        for (std::uint64_t at = 0; at < std::uint64_t{lines} + m_nReach; ++at) {
            if (at < lines && at % m_nStep == 0) {
                const auto first = static_cast<std::uint32_t>(at);
                fetch(first, std::min(m_nStep, lines - first), fnLine(at, 0));
            }
            if (at == 0)
                fnStart();
            fnAdvance(at);
            const Sum* sums = m_Kernel.m_nSide != 0 ? fnAddSides() : fnSums(2);
            if (at < m_nReach)
                continue;
            fnDivide(sums);
            store(static_cast<std::uint32_t>(at - m_nReach), m_pBytes.get());
        }
    }

private:
    /// The running sums, the last two results of the third, and the result with its sides.
    static constexpr std::size_t kSums = 6;

    std::uint32_t fnGetLag() const { return 2 * m_Kernel.m_nPair + m_Kernel.m_nThird; }
    Sum* fnSums(std::size_t n) { return m_pSums.get() + n * m_nWidth; }

    /// The line so many lines back.
    std::uint16_t* fnLine(std::uint64_t at, std::uint32_t back) {
        const std::uint64_t line = at < back ? 0 : std::min<std::uint64_t>(at - back, m_nLast);
        assert(std::min<std::uint64_t>(at / m_nStep * m_nStep + m_nStep - 1, m_nLast) - line <
               m_nRing); // not overwritten by the newest lines
        return m_pRing.get() + static_cast<std::size_t>(line % m_nRing) * m_nWidth;
    }

    /// As if the first line had gone on for ever.
    void fnStart() {
        const auto sum = static_cast<Sum>(m_Kernel.fnGetBoxSum());
        const std::uint16_t* line = fnLine(0, 0);
        std::fill_n(fnSums(0), 2 * m_nWidth, Sum{0});
        std::transform(line, line + m_nWidth, fnSums(2),
                       [sum](std::uint16_t sample) { return sample * sum; });
        std::copy_n(fnSums(2), m_nWidth, fnSums(3));
        std::copy_n(fnSums(2), m_nWidth, fnSums(4));
        m_nFormer = 3;
    }

    void fnAdvance(std::uint64_t at) {
        const std::uint32_t pair = m_Kernel.m_nPair;
        const std::uint32_t third = m_Kernel.m_nThird;
        const std::uint16_t* a = fnLine(at, 0);
        const std::uint16_t* b = fnLine(at, pair);
        const std::uint16_t* c = fnLine(at, 2 * pair);
        const std::uint16_t* d = fnLine(at, third);
        const std::uint16_t* e = fnLine(at, third + pair);
        const std::uint16_t* f = fnLine(at, third + 2 * pair);
        Sum* first = fnSums(0);
        Sum* second = fnSums(1);
        Sum* sum = fnSums(2);
        for (std::size_t i = 0; i < m_nWidth; ++i) {
            const int change = a[i] + c[i] - d[i] - f[i] + 2 * (e[i] - b[i]);
            first[i] += static_cast<Sum>(change);
            second[i] += first[i];
            sum[i] += second[i];
        }
    }

    /// The fourth kernel, around the sum before this one.
    const Sum* fnAddSides() {
        const Sum side = m_Kernel.m_nSide;
        const Sum center = BlurKernel::kSideSum - 2 * side;
        const Sum* now = fnSums(2);
        Sum* former = fnSums(m_nFormer);
        const Sum* before = fnSums(7 - m_nFormer);
        Sum* out = fnSums(5);
        for (std::size_t i = 0; i < m_nWidth; ++i) {
            out[i] = side * (now[i] + former[i]) + center * before[i];
            former[i] = now[i];
        }
        m_nFormer = 7 - m_nFormer;
        return out;
    }

    /// A sum as a double, exactly: all are below 2^52.
    static double fnDouble(Sum sum) {
        return static_cast<double>(static_cast<std::make_signed_t<Sum>>(sum));
    }

    void fnDivide(const Sum* sums) {
        if (!m_bAlpha)
            return fnDivide(sums, m_nWidth);
        const std::size_t plane = m_nWidth / 4;
        fnDivide(sums, plane);
        for (std::size_t c = plane; c < m_nWidth; c += plane)
            fnDivideByAlpha(sums, sums + c, m_pBytes.get() + c, plane);
    }

    // Rounds n / D to nearest, where n is the sum and D that of the kernel. With n' = n + D / 2,
    // rounded down, (n' + 1/2) / D is 1 / (2 D) or more from any integer, and below 257. Computed
    // as a product with 1 / D it is off by less than 2^-43; D is below 2^33. So truncation gives
    // the integer below n' / D.
    void fnDivide(const Sum* sums, std::size_t count) {
        const auto sum = m_Kernel.fnGetSum();
        const double factor = 1.0 / static_cast<double>(sum);
        const auto rounding = sum / 2;
        const double half = static_cast<double>(rounding) + 0.5;
        unsigned char* out = m_pBytes.get();
        for (std::size_t i = 0; i < count; ++i)
            out[i] =
                static_cast<unsigned char>(static_cast<int>((fnDouble(sums[i]) + half) * factor));
    }

    // Rounds n / a to nearest, halves up, as (2 n + a) / (2 a) truncated. The quotient is below
    // 256.5, and if it isn't an integer, 1 / (2 a) or more below the next one. 2 a is below 2^43
    // and 2 n + a below 2^51, so both are exact, and the quotient, rounded once, doesn't reach it.
    void fnDivideByAlpha(const Sum* alphas, const Sum* sums, unsigned char* out,
                         std::size_t count) {
        const unsigned char* alpha = m_pBytes.get();
        for (std::size_t i = 0; i < count; ++i) {
            const double divisor = fnDouble(alphas[i]);
            const double quotient =
                (2.0 * fnDouble(sums[i]) + divisor) / std::max(2.0 * divisor, 1.0);
            out[i] = static_cast<unsigned char>(alpha[i] != 0 ? static_cast<int>(quotient) : 0);
        }
    }

    BlurKernel m_Kernel;
    std::uint32_t m_nReach;
    std::uint32_t m_nStep;
    bool m_bAlpha;
    std::size_t m_nRing;       ///< lines
    std::uint64_t m_nLast = 0; ///< line
    std::size_t m_nWidth = 0;
    std::size_t m_nFormer = 3; ///< which sums are the older results: 3 or 4
    std::unique_ptr<std::uint16_t[]> m_pRing;
    std::unique_ptr<Sum[]> m_pSums;
    std::unique_ptr<unsigned char[]> m_pBytes;
};

} // namespace q32
