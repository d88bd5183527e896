#include "platforms/qt/AreaSampler_p.h"
#include "platforms/qt/CanvasPixels_p.h"
#include "platforms/qt/Checkerboard_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace q32::qt {

namespace {

/// The weights of a pixel along an axis add up to this.
constexpr std::uint32_t kOne = 256;

/// The image columns or rows that a canvas pixel covers, with their weights.
struct Cover {
    std::uint32_t m_nFirst; ///< in the image
    std::uint32_t m_nCount;
    std::size_t m_nWeightsAt; ///< index of the first weight
};

struct CoverAxis {
    int m_nFirst = 0; ///< canvas coordinate of m_Covers[0]
    std::vector<Cover> m_Covers;
    std::vector<std::uint16_t> m_Weights;

    std::uint32_t fnGetBegin() const { return m_Covers.front().m_nFirst; }
    std::uint32_t fnGetEnd() const { return m_Covers.back().m_nFirst + m_Covers.back().m_nCount; }
};

CoverAxis fnMakeCoverAxis(int first, int end, int origin, double zoom, std::uint32_t length) {
    CoverAxis axis;
    axis.m_nFirst = std::max(first, -origin);
    for (int at = axis.m_nFirst; at < end; ++at) {
        const double from = (static_cast<double>(at) + origin) / zoom;
        const double to =
            std::min((static_cast<double>(at) + origin + 1) / zoom, static_cast<double>(length));
        const double low = std::floor(from);
        const double high = std::ceil(to);
        // As for nearest neighbours, the centre decides; but a picture always has one pixel.
        if (at + origin != 0 && fnSampleIndex(at, origin, zoom) >= static_cast<long long>(length))
            break;
        const auto count = static_cast<std::uint32_t>(high - low);
        axis.m_Covers.push_back({static_cast<std::uint32_t>(low), count, axis.m_Weights.size()});
        // Rounding the sums, not the weights, makes them add up.
        long sum = 0;
        for (std::uint32_t i = 1; i <= count; ++i) {
            const double covered = (std::min(low + i, to) - from) / (to - from);
            const long next = std::lround(covered * kOne);
            axis.m_Weights.push_back(static_cast<std::uint16_t>(next - sum));
            sum = next;
        }
    }
    return axis;
}

/// The four bytes of a pixel in fields of 16 bits.
constexpr std::uint64_t fnSpread(std::uint32_t pixel) {
    constexpr std::uint32_t kFields = 0x00FF00FFu;
    return (pixel & kFields) | std::uint64_t{pixel >> 8 & kFields} << 32;
}

/// A colour multiplied by its alpha, which stays.
constexpr std::uint32_t fnPremultiply(std::uint32_t pixel) {
    const std::uint32_t alpha = pixel >> 24;
    const auto times = [alpha](std::uint32_t channel) { return (channel * alpha + 127) / 255; };
    return alpha << 24 | times(pixel >> 16 & 0xFFu) << 16 | times(pixel >> 8 & 0xFFu) << 8 |
           times(pixel & 0xFFu);
}

/// Rows of an image, reduced along themselves; the last one is kept, since neighbours share it.
class ReducedRows {
public:
    ReducedRows(const CqImage& image, const CoverAxis& across, bool alpha)
        : m_Reader(image, alpha ? kAlphaOrder : kCanvasOrder), m_Across(across), m_bAlpha(alpha),
          m_Pixels(across.fnGetEnd() - across.fnGetBegin()), m_Sums(across.m_Covers.size()) {}

    /// For each canvas pixel, its four bytes times kOne in fields of 16 bits.
    const std::vector<std::uint64_t>& fnGet(std::uint32_t row) {
        if (m_nRow == std::int64_t{row})
            return m_Sums;
        m_nRow = row;
        const std::uint32_t begin = m_Across.fnGetBegin();
        m_Reader.fnReadRow(begin, row, static_cast<std::uint32_t>(m_Pixels.size()),
                           m_Pixels.data());
        if (m_bAlpha)
            std::transform(m_Pixels.begin(), m_Pixels.end(), m_Pixels.begin(), fnPremultiply);
        for (std::size_t i = 0; i < m_Sums.size(); ++i) {
            const Cover& cover = m_Across.m_Covers[i];
            const std::uint32_t* pixel = m_Pixels.data() + (cover.m_nFirst - begin);
            const std::uint16_t* weight = m_Across.m_Weights.data() + cover.m_nWeightsAt;
            std::uint64_t sum = 0;
            for (std::uint32_t n = 0; n < cover.m_nCount; ++n)
                sum += fnSpread(pixel[n]) * weight[n];
            m_Sums[i] = sum;
        }
        return m_Sums;
    }

private:
    CqPixelReader m_Reader;
    const CoverAxis& m_Across;
    bool m_bAlpha;
    std::int64_t m_nRow = -1;
    std::vector<std::uint32_t> m_Pixels;
    std::vector<std::uint64_t> m_Sums;
};

/// The sums of a canvas row, one for each byte of each pixel.
class AreaSums {
public:
    explicit AreaSums(std::size_t count) : m_Sums(4 * count) {}

    void fnClear() { std::fill(m_Sums.begin(), m_Sums.end(), 0u); }
    void fnAdd(const std::vector<std::uint64_t>& row, std::uint32_t weight) {
        std::uint32_t* sum = m_Sums.data();
        for (const std::uint64_t fields : row) {
            for (int i = 0; i < 4; ++i)
                sum[i] += static_cast<std::uint32_t>(fields >> 16 * i & 0xFFFFu) * weight;
            sum += 4;
        }
    }
    void fnTake(std::uint32_t* out) const {
        constexpr std::uint32_t kHalf = kOne * kOne / 2;
        const std::uint32_t* sum = m_Sums.data();
        for (std::size_t i = 0; i < m_Sums.size() / 4; ++i, sum += 4)
            // The fields hold the bytes 0, 2, 1 and 3.
            out[i] = (sum[0] + kHalf) >> 16 | (sum[2] + kHalf) >> 16 << 8 |
                     (sum[1] + kHalf) >> 16 << 16 | (sum[3] + kHalf) >> 16 << 24;
    }

private:
    std::vector<std::uint32_t> m_Sums;
};

} // namespace

QRect fnSampleMeans(const CqImage& image, const SamplePlace& place, const QRect& part,
                    QImage& canvas) {
    const QRect cut = part & canvas.rect();
    const CoverAxis across =
        fnMakeCoverAxis(cut.left(), cut.right() + 1, place.m_Origin.x(), place.m_Zoom, image.Width);
    const CoverAxis down = fnMakeCoverAxis(cut.top(), cut.bottom() + 1, place.m_Origin.y(),
                                           place.m_Zoom, image.Height);
    if (across.m_Covers.empty() || down.m_Covers.empty())
        return {};
    const RowFinish finish(place);
    const std::size_t count = across.m_Covers.size();
    ReducedRows rows(image, across, place.m_bAlpha);
    AreaSums sums(count);
    for (std::size_t y = 0; y < down.m_Covers.size(); ++y) {
        const Cover& cover = down.m_Covers[y];
        sums.fnClear();
        for (std::uint32_t n = 0; n < cover.m_nCount; ++n)
            sums.fnAdd(rows.fnGet(cover.m_nFirst + n), down.m_Weights[cover.m_nWeightsAt + n]);
        const int line = down.m_nFirst + static_cast<int>(y);
        auto* const out = reinterpret_cast<std::uint32_t*>(canvas.scanLine(line)) + across.m_nFirst;
        sums.fnTake(out);
        if (place.m_bAlpha)
            fnLayPremultiplied(out, count, across.m_nFirst + place.m_Origin.x(),
                               line + place.m_Origin.y());
        finish.fnRun(out, count);
    }
    return {across.m_nFirst, down.m_nFirst, static_cast<int>(count),
            static_cast<int>(down.m_Covers.size())};
}

} // namespace q32::qt
