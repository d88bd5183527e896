#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/memory/PixelBlock.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/resampling/Resample_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace q32 {
namespace {

/// The intermediate image between the two passes. Like an image, it may lie in a scratch file, and
/// its pixels are tiled, so that both passes go through its bytes in order.
class IntermediateBuffer {
public:
    IntermediateBuffer(std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerPixel)
        : m_nWidth(width), m_nHeight(height), m_nBytes(bytesPerPixel),
          m_nShiftX(bytesPerPixel == 1 ? kWideShift : kTileShift) {
        const std::uint64_t row = std::uint64_t{width} * bytesPerPixel;
        if (row > 0xFFFFFFFFu / height)
            AfxThrowMemoryException();
        const auto size = static_cast<std::uint32_t>(row * height);
        const std::size_t across = ((width - 1) >> m_nShiftX) + 1;
        const std::size_t down = ((height - 1) >> kTileShift) + 1;
        m_pTiles.reset(fnNewArray<TileEntry>(across * down));
        if (size != 0) // 4-bit pixels have 0 bytes
            m_Block = PixelBlock(size, 0, BlockContents::ANY);
        fnPlaceTiles(across, down);
    }

    PixelArea fnArea() const {
        return {m_pTiles.get(), m_nShiftX, kTileShift,          m_nWidth,
                m_nHeight,      m_nBytes,  m_Block.fnIsOnDisk()};
    }

    /// Whether pixels were lost.
    bool fnHasLosses() const { return m_Block.fnCountLosses() != 0; }

private:
    static constexpr std::uint32_t kTileShift = 7; ///< tiles of 128
    static constexpr std::uint32_t kWideShift = 9; ///< a block of the column filter at 8 bits

    void fnPlaceTiles(std::size_t across, std::size_t down) {
        unsigned char* at = m_Block.fnGetBytes();
        TileEntry* entry = m_pTiles.get();
        for (std::size_t row = 0; row < down; ++row)
            for (std::size_t column = 0; column < across; ++column) {
                *entry++ = {at, false};
                at += std::size_t{fnCut(m_nWidth, m_nShiftX, column)} *
                      fnCut(m_nHeight, kTileShift, row) * m_nBytes;
            }
    }
    /// The length of the nth part of a side.
    static std::uint32_t fnCut(std::uint32_t side, std::uint32_t shift, std::size_t n) {
        return std::min(1u << shift, side - (static_cast<std::uint32_t>(n) << shift));
    }

    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::uint32_t m_nBytes;
    std::uint32_t m_nShiftX;
    std::unique_ptr<TileEntry[]> m_pTiles;
    PixelBlock m_Block;
};

bool fnFilterRowsFirst(const PixelArea& source, const PixelArea& target, const PixelArea& between,
                       double scaleX, double scaleY, CqProgressDisplay* progress) {
    return fnFilterWidth(source, between, scaleX, {progress, source.fnGetHeight(), 0, 50}) &&
           fnFilterHeight(between, target, scaleY, {progress, target.fnGetWidth(), 50, 50});
}

bool fnFilterColsFirst(const PixelArea& source, const PixelArea& target, const PixelArea& between,
                       double scaleX, double scaleY, CqProgressDisplay* progress) {
    return fnFilterHeight(source, between, scaleY, {progress, source.fnGetWidth(), 0, 50}) &&
           fnFilterWidth(between, target, scaleX, {progress, target.fnGetHeight(), 50, 50});
}

} // namespace

bool fnFilterResample(const CqTileMap& source, CqTileMap& target, double scaleX, double scaleY,
                      CqProgressDisplay* progress) {
    const PixelArea from(source);
    const PixelArea to(target);
    if (source.Width == target.Width)
        return fnFilterHeight(from, to, scaleY, {progress, source.Width});
    if (source.Height == target.Height)
        return fnFilterWidth(from, to, scaleX, {progress, source.Height});
    // Only the target's shape decides, not the cost: the order affects the pixels.
    const bool rowsFirst = target.Width < target.Height;
    if (!rowsFirst && fnMayFilterInBands(from, to, scaleX, scaleY))
        if (const std::optional<bool> done = fnFilterInBands(from, to, scaleX, scaleY, progress))
            return *done;
    const IntermediateBuffer buffer(rowsFirst ? target.Width : source.Width,
                                    rowsFirst ? source.Height : target.Height,
                                    target.BytesPerPixel);
    const bool done = (rowsFirst ? fnFilterRowsFirst : fnFilterColsFirst)(from, to, buffer.fnArea(),
                                                                          scaleX, scaleY, progress);
    if (buffer.fnHasLosses())
        AfxThrowMemoryException();
    return done;
}

} // namespace q32
