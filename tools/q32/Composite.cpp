#include "tools/q32/Composite.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"
#include "tools/q32/Session.h"

#include <algorithm>
#include <cstddef>

namespace tool {

namespace {

constexpr std::size_t kPixel = 4; ///< alpha, red, green, blue
constexpr unsigned int kOpaque = 255;

/// Lays a pixel over another one. Both have straight alpha.
void fnBlend(const unsigned char* over, unsigned char* below) {
    if (over[0] == 0)
        return;
    if (over[0] == kOpaque) {
        std::copy_n(over, kPixel, below);
        return;
    }
    // Weights of both colours; their sum is the new alpha, with eight bits of fraction.
    const unsigned int front = over[0] * kOpaque;
    const unsigned int back = below[0] * (kOpaque - over[0]);
    const unsigned int sum = front + back;
    for (std::size_t i = 1; i < kPixel; ++i)
        below[i] = static_cast<unsigned char>((over[i] * front + below[i] * back + sum / 2) / sum);
    below[0] = static_cast<unsigned char>((sum + kOpaque / 2) / kOpaque);
}

/// The part of a length that falls inside another one, from `place` on.
struct Span {
    std::uint32_t m_nFrom = 0; ///< in the upper picture
    std::uint32_t m_nTo = 0;   ///< in the lower one
    std::uint32_t m_nCount = 0;
};

Span fnClip(std::uint32_t length, std::uint32_t room, int place) {
    const std::int64_t from = std::max<std::int64_t>(0, -std::int64_t{place});
    const std::int64_t to = std::max<std::int64_t>(0, place);
    const std::int64_t count = std::min<std::int64_t>(length - from, room - to);
    if (count <= 0)
        return {};
    return {static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to),
            static_cast<std::uint32_t>(count)};
}

} // namespace

void fnComposite(CqImage& image, CqImage& over, const Place& place, const Weights& weights,
                 Session& session) {
    const Span x = fnClip(over.Width, image.Width, place.m_nX);
    const Span y = fnClip(over.Height, image.Height, place.m_nY);
    if (x.m_nCount == 0)
        return;
    const CqPixelReader upper(over, PIXEL_ARGB32);
    const CqPixelReader lower(image, PIXEL_ARGB32);
    const CqPixelWriter writer(image, PIXEL_ARGB32);
    // Weights are for complete rows, wherever the part begins.
    std::vector<unsigned char> front(over.Width * kPixel);
    std::vector<unsigned char> back(x.m_nCount * kPixel);
    for (std::uint32_t row = 0; row < y.m_nCount; ++row) {
        if (!upper.fnReadRow(0, y.m_nFrom + row, over.Width, front.data()) ||
            !lower.fnReadRow(x.m_nTo, y.m_nTo + row, x.m_nCount, back.data()))
            AfxThrowMemoryException();
        if (weights)
            weights(front, y.m_nFrom + row);
        for (std::size_t i = 0; i < x.m_nCount; ++i)
            fnBlend(&front[(x.m_nFrom + i) * kPixel], &back[i * kPixel]);
        if (!writer.fnWriteRow(x.m_nTo, y.m_nTo + row, x.m_nCount, back.data()))
            AfxThrowMemoryException();
        session.fnGetProgress().fnReport(row + 1, y.m_nCount);
    }
}

void fnFlattenRow(std::vector<unsigned char>& row, const CqColor& background) {
    const unsigned char behind[] = {background.m_Red, background.m_Green, background.m_Blue};
    for (std::size_t i = 0; i * kPixel < row.size(); ++i) {
        const unsigned int alpha = row[i * kPixel];
        for (std::size_t channel = 0; channel < 3; ++channel)
            row[i * 3 + channel] =
                static_cast<unsigned char>((row[i * kPixel + channel + 1] * alpha +
                                            behind[channel] * (kOpaque - alpha) + kOpaque / 2) /
                                           kOpaque);
    }
}

} // namespace tool
