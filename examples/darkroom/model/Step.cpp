#include "examples/darkroom/model/Step.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/PixelBlend.h"
#include "examples/darkroom/model/Progress.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace darkroom {

namespace {

/// Height of a tile in an image that has several above each other.
constexpr unsigned int kTileHeight = 128;

/// Exchanges pixels and resolutions.
void fnSwapPictures(CqImage& a, CqImage& b) noexcept {
    a.fnSwapBuf(b);
    std::swap(a.DpiX, b.DpiX);
    std::swap(a.DpiY, b.DpiY);
}

unsigned int fnGetWeight(CqMask& selection, LONG x, LONG y) {
    const CRect& bound = selection.m_rectBound;
    return bound.PtInRect(CPoint(x, y)) ? *selection.fnGetPixelAddr(x - bound.left, y - bound.top)
                                        : 0;
}

} // namespace

bool Step::fnSave(CqImage& image, std::optional<Tiles> tiles, CqProgressDisplay* progress) {
    // Complete pictures are exchanged without being copied.
    m_bWhole = !tiles || tiles->size() == image.TileCount;
    if (m_bWhole)
        return fnCopyPicture(image, m_Image, progress);
    m_Tiles = std::move(*tiles);
    return fnSaveTiles(image, progress);
}

bool Step::fnSaveTiles(CqImage& image, CqProgressDisplay* progress) {
    const auto count = static_cast<unsigned int>(m_Tiles.size());
    if (count == 0)
        return true;
    // Each tile of the strip has room for one of the picture's, which may be smaller at its edges.
    m_Image.fnAlloc(static_cast<unsigned int>(image.fnGetMaxTileSize().cx), kTileHeight * count,
                    image.BitCount, nullptr, 0);
    CqImageTile source;
    CqImageTile target;
    for (unsigned int i = 0; i < count; ++i) {
        image.fnAccessTile(m_Tiles[i], &source);
        m_Image.fnAccessTile(i, &target);
        std::memcpy(target.Pixels, source.Pixels, source.Size);
        if (!fnGoOn(progress, i, count))
            return false;
    }
    return true;
}

template <typename Work>
void Step::fnForTiles(CqImage& image, std::size_t first, std::size_t end, Work&& work) {
    CqImageTile here;
    CqImageTile saved;
    for (std::size_t i = first; i < end; ++i) {
        const auto index = static_cast<unsigned int>(i);
        image.fnAccessTile(m_bWhole ? index : m_Tiles[i], &here);
        m_Image.fnAccessTile(index, &saved);
        work(here, saved);
    }
}

void Step::fnSwapTiles(CqImage& image, std::size_t first, std::size_t end) noexcept {
    fnForTiles(image, first, end, [](const CqImageTile& here, const CqImageTile& saved) {
        std::swap_ranges(here.Pixels, here.Pixels + here.Size, saved.Pixels);
    });
}

bool Step::fnExchange(CqImage& image, CqProgressDisplay* progress) noexcept {
    if (m_bWhole) {
        fnSwapPictures(image, m_Image);
        return true;
    }
    constexpr std::size_t kBatch = 16; // tiles between two looks at the keyboard
    const std::size_t count = m_Tiles.size();
    for (std::size_t first = 0; first < count; first += kBatch) {
        bool goesOn = true;
        q32::fnTryMemory([&] {
            goesOn = fnGoOn(progress, static_cast<std::int64_t>(first),
                            static_cast<std::int64_t>(count));
        });
        if (!goesOn) {
            fnSwapTiles(image, 0, first);
            return false;
        }
        fnSwapTiles(image, first, std::min(first + kBatch, count));
    }
    return true;
}

std::uint64_t Step::fnGetExchanged() const {
    return m_bWhole ? 0 : fnCountBytes(m_Image.Width, m_Image.Height, m_Image.BitCount);
}

void Step::fnRestoreUnselected(CqImage& image, CqMask& selection) {
    fnForTiles(image, 0, fnCountTiles(image),
               [&](const CqImageTile& here, const CqImageTile& saved) {
                   const std::size_t pixel = here.BytesPerPixel;
                   unsigned char* const end = here.Pixels + here.Size;
                   for (unsigned char* at = here.Pixels; at != end;) {
                       // Only what differs needs to be looked up in the mask.
                       at = std::mismatch(at, end, saved.Pixels + (at - here.Pixels)).first;
                       if (at == end)
                           break;
                       const auto index =
                           static_cast<LONG>(static_cast<std::size_t>(at - here.Pixels) / pixel);
                       const std::size_t offset = static_cast<std::size_t>(index) * pixel;
                       fnMixBack(here.Pixels + offset, saved.Pixels + offset, pixel,
                                 fnGetWeight(selection, here.Left + index % here.Width,
                                             here.Top + index / here.Width));
                       at = here.Pixels + offset + pixel;
                   }
               });
}

void Step::fnTake(Step& other) noexcept {
    m_strName = std::move(other.m_strName);
    m_bMoves = other.m_bMoves;
    m_bWhole = other.m_bWhole;
    fnSwapPictures(m_Image, other.m_Image);
    m_Tiles = std::move(other.m_Tiles);
}

} // namespace darkroom
