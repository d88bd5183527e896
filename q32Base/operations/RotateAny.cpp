#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/Rotate_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstring>
#include <memory>

namespace q32 {
namespace {

// Nanoseconds for a pixel.
constexpr double kBlendTime = 6.0;
constexpr double kNearestTime = 2.0;

/// Rotates tile by tile. The source pixels that a tile reads are first collected in one buffer,
/// with the background painted around the image, so that no sample needs a bounds test. Tiles that
/// read the background alone need no buffer.
class AnyRotation {
public:
    AnyRotation(const CqTileMap& source, const Rotation& rotation)
        : m_Source(source), m_Rotation(rotation), m_nBytes(source.BytesPerPixel),
          m_pPlace(fnNewArray<unsigned char>(std::size_t{kSide} * kSide * m_nBytes + kSlack)),
          m_pSpare(fnNewArray<unsigned char>(kTileRow)) {
        const CqColor& color = rotation.m_Background;
        if (m_nBytes == 1)
            m_Background = {fnPaletteIndex(source, color)};
        else if (m_nBytes == 3)
            m_Background = {color.m_Red, color.m_Green, color.m_Blue};
        else
            m_Background = {color.m_Alpha, color.m_Red, color.m_Green, color.m_Blue};
        fnChooseKernels();
        std::memset(m_pPlace.get(), 0, std::size_t{kSide} * kSide * m_nBytes + kSlack);
    }

    void fnRotateTile(const CqImageTile& tile) const {
        const double c = m_Rotation.m_dCosine;
        const double s = m_Rotation.m_dSine;
        const double dx = static_cast<double>(tile.Left) - m_Rotation.m_NewCenter.x;
        const double dy = static_cast<double>(tile.Top) - m_Rotation.m_NewCenter.y;
        double rowX = dx * c + dy * s + m_Rotation.m_Center.x;
        double rowY = dy * c - dx * s + m_Rotation.m_Center.y;
        const double right = c * (tile.Width - 1);
        const double down = s * (tile.Height - 1);
        const Range x = fnRangeOf(rowX, right, down);
        const Range y = fnRangeOf(rowY, -s * (tile.Width - 1), c * (tile.Height - 1));
        const bool outside = fnIsOutside(x, y);
        if (outside && !m_fnRotateFlat) {
            fnFillPixels(tile.Pixels, m_Background.data(), m_nBytes,
                         static_cast<std::size_t>(tile.Width) *
                             static_cast<std::size_t>(tile.Height));
            return;
        }
        if (!outside)
            fnFetch(x, y);
        const RotateSource place = {m_pPlace.get(), kSide, x.m_dFirst, y.m_dFirst};
        RotateRows rows;
        rows.m_dCosine = c;
        rows.m_dSine = s;
        for (std::int32_t top = 0; top < tile.Height; top += static_cast<int>(kRotateRows)) {
            // Rows beyond the tile repeat the last one, into a dummy target.
            for (std::size_t r = 0; r < kRotateRows; ++r) {
                rows.m_dX[r] = rowX;
                rows.m_dY[r] = rowY;
                const std::int32_t row = top + static_cast<std::int32_t>(r);
                rows.m_pTarget[r] =
                    row >= tile.Height
                        ? m_pSpare.get()
                        : tile.Pixels + tile.RowBytes * static_cast<std::size_t>(row);
                if (row + 1 < tile.Height) {
                    rowX += s;
                    rowY += c;
                }
            }
            if (outside)
                m_fnRotateFlat(m_Background.data(), rows, static_cast<std::size_t>(tile.Width));
            else
                m_fnRotate(place, rows, static_cast<std::size_t>(tile.Width));
        }
    }

private:
    /// A tile's samples lie at most 127 * sqrt(2) apart in either direction; the rest is the margin
    /// of Range.
    static constexpr int kSide = 192;
    static constexpr std::size_t kSlack = 8;
    static constexpr std::size_t kTileRow = std::size_t{4} * CqTileMap::kMaxTileSize;

    /// Integral source coordinates, both included. Doubles, since a distant centre puts them beyond
    /// 32 bits.
    struct Range {
        double m_dFirst;
        double m_dLast;
    };

    /// The range that the samples between the four corners read. Coordinates are below 2^34, so the
    /// running sums, of at most 256 steps, deviate by less than 256 x 2^-19 at the corners: a
    /// margin of one pixel is more than enough, and bilinear samples read one pixel more.
    static Range fnRangeOf(double start, double across, double down) {
        return {std::floor(start + std::min(across, 0.0) + std::min(down, 0.0)) - 1.0,
                std::ceil(start + std::max(across, 0.0) + std::max(down, 0.0)) + 2.0};
    }

    void fnFetch(const Range& x, const Range& y) const {
        const auto columns = static_cast<std::size_t>(x.m_dLast - x.m_dFirst) + 1;
        assert(columns <= kSide && y.m_dLast - y.m_dFirst < kSide);
        const double width = m_Source.fnGetWidth();
        const double inner = std::clamp(x.m_dFirst, 0.0, width);
        const auto begin = static_cast<std::uint32_t>(inner);
        const auto end = static_cast<std::uint32_t>(std::clamp(x.m_dLast + 1.0, inner, width));
        const auto before = static_cast<std::size_t>(
            std::clamp(inner - x.m_dFirst, 0.0, static_cast<double>(columns)));
        for (double row = y.m_dFirst; row <= y.m_dLast; row += 1.0) {
            unsigned char* to =
                m_pPlace.get() + static_cast<std::size_t>(row - y.m_dFirst) * kSide * m_nBytes;
            if (row < 0.0 || row >= m_Source.fnGetHeight()) {
                fnFillPixels(to, m_Background.data(), m_nBytes, columns);
                continue;
            }
            fnFillPixels(to, m_Background.data(), m_nBytes, before);
            fnCopyRun(begin, end, static_cast<std::uint32_t>(row), to + before * m_nBytes);
            const std::size_t done = before + (end - begin);
            assert(done <= columns);
            fnFillPixels(to + done * m_nBytes, m_Background.data(), m_nBytes, columns - done);
        }
    }

    void fnCopyRun(std::uint32_t x, std::uint32_t end, std::uint32_t y, unsigned char* to) const {
        std::uint32_t next;
        for (; x < end; x = next) {
            next = std::min(end, m_Source.fnRunEnd(x));
            const std::size_t count = next - x;
            std::memcpy(to, m_Source.fnAt(x, y), count * m_nBytes);
            to += count * m_nBytes;
        }
    }

    /// Whether samples in this range read the background alone.
    bool fnIsOutside(const Range& x, const Range& y) const {
        return x.m_dLast < 0.0 || x.m_dFirst >= m_Source.fnGetWidth() || y.m_dLast < 0.0 ||
               y.m_dFirst >= m_Source.fnGetHeight();
    }

    void fnChooseKernels() {
        const Kernels& kernels = fnKernels();
        const bool blends = m_Rotation.m_bAntiAlias;
        switch (m_nBytes) {
        case 1:
            m_fnRotate = blends ? kernels.fnRotateBilinear8 : kernels.fnRotateNearest8;
            m_fnRotateFlat = kernels.fnRotateFlat8;
            break;
        case 3:
            m_fnRotate = blends ? kernels.fnRotateBilinear24 : kernels.fnRotateNearest24;
            m_fnRotateFlat = kernels.fnRotateFlat24;
            break;
        default:
            m_fnRotate = blends ? kernels.fnRotateBilinear32 : kernels.fnRotateNearest32;
            m_fnRotateFlat = kernels.fnRotateFlat32;
        }
        // The weights of a blend add up to 1 only nearly, so other values than 0 may become less.
        if (!blends || m_Background == std::array<unsigned char, 4>{})
            m_fnRotateFlat = nullptr;
    }

    PixelArea m_Source;
    const Rotation& m_Rotation;
    std::size_t m_nBytes; ///< per pixel
    std::unique_ptr<unsigned char[]> m_pPlace;
    std::unique_ptr<unsigned char[]> m_pSpare; ///< a row of a tile
    std::array<unsigned char, 4> m_Background{};
    RotateRun m_fnRotate = nullptr;
    RotateFlatRun m_fnRotateFlat = nullptr; ///< null where the background is left as it is
};

} // namespace

bool fnRotateAny(const CqTileMap& source, CqTileMap& target, const Rotation& rotation,
                 CqProgressDisplay* progress) {
    if (source.BitCount == 16)
        return true;
    const Parallel tiles(target.TileCount, (rotation.m_bAntiAlias ? kBlendTime : kNearestTime) *
                                               target.TileWidth * target.TileHeight);
    PerWorker<AnyRotation> rotate(tiles, source, rotation);
    return ProgressRun(progress, target.TileCount)
        .fnRun(tiles, [&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
            CqImageTile tile(false);
            for (; first < end; ++first) {
                target.fnAccessTile(first, &tile);
                rotate[worker].fnRotateTile(tile);
            }
        });
}

} // namespace q32
