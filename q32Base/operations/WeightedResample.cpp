#include "q32Base/operations/WeightedResample.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/ContribTable_p.h"
#include "q32Base/operations/ImageStorage_p.h"
#include "q32Base/operations/ProgressRun_p.h"
#include "q32Base/operations/TilePieces_p.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace {

using q32::ContribList;

constexpr std::size_t kBytes = 4; ///< alpha, red, green, blue

/// One pixel of one pass. `at(k)` is the address of the pixel of the list's entry k.
template <typename At>
void fnSumPixel(const ContribList& list, unsigned char* out, At at) {
    double plain[kBytes] = {};
    double weighted[kBytes] = {};
    unsigned int opaque = 255;
    for (std::int32_t k = 0; k < list.m_nCount; ++k) {
        const unsigned char* pixel = at(k);
        const double weight = list.m_pEntries[k].m_dWeight;
        const int alpha = pixel[0];
        opaque &= pixel[0];
        for (std::size_t c = 0; c < kBytes; ++c)
            plain[c] += pixel[c] * weight;
        for (std::size_t c = 1; c < kBytes; ++c)
            weighted[c] += alpha * pixel[c] * weight;
    }
    const std::uint8_t alpha = q32::fnStoredByte(plain[0]);
    out[0] = alpha;
    for (std::size_t c = 1; c < kBytes; ++c)
        out[c] = alpha == 0      ? 0
                 : opaque == 255 ? q32::fnStoredByte(plain[c])
                                 : q32::fnStoredByte(weighted[c] / plain[0]);
}

/// Changes the width. Other than the progress, rows are independent of each other.
bool fnFilterWidth(const CqTileMap& from, CqTileMap& to, double scale,
                   const q32::ProgressRun& progress) {
    const q32::ContribTable table(scale, to.Width, from.Width);
    const std::unique_ptr<unsigned char[]> source(q32::fnNewArray<unsigned char>(from.RowBytes));
    const std::unique_ptr<unsigned char[]> target(q32::fnNewArray<unsigned char>(to.RowBytes));
    for (std::uint32_t y = 0; y < to.Height; ++y) {
        from.fnFetchRow(y, source.get());
        for (std::uint32_t x = 0; x < to.Width; ++x) {
            const ContribList& list = table[x];
            fnSumPixel(list, target.get() + kBytes * x, [&](std::int32_t k) {
                return source.get() +
                       kBytes * static_cast<std::size_t>(list.m_pEntries[k].m_nPixel);
            });
        }
        to.fnStoreRow(y, target.get());
        if (progress.fnAborts(y))
            return false;
    }
    return true;
}

/// Changes the height, in strips as wide as a tile, so that the pixels of a strip's row are
/// adjacent.
bool fnFilterHeight(const CqTileMap& from, const CqTileMap& to, double scale,
                    const q32::ProgressRun& progress) {
    const q32::ContribTable table(scale, to.Height, from.Height);
    const q32::PixelArea source(from);
    const q32::PixelArea target(to);
    const std::unique_ptr<const unsigned char*[]> rows(
        q32::fnNewArray<const unsigned char*>(table.fnGetCapacity()));
    std::uint32_t end;
    for (std::uint32_t x = 0; x < to.Width; x = end) {
        end = target.fnRunEnd(x);
        for (std::uint32_t y = 0; y < to.Height; ++y) {
            const ContribList& list = table[y];
            for (std::int32_t k = 0; k < list.m_nCount; ++k)
                rows[static_cast<std::size_t>(k)] =
                    source.fnAt(x, static_cast<std::uint32_t>(list.m_pEntries[k].m_nPixel));
            unsigned char* out = target.fnAt(x, y);
            for (std::size_t i = 0; i < kBytes * (end - x); i += kBytes)
                fnSumPixel(list, out + i,
                           [&](std::int32_t k) { return rows[static_cast<std::size_t>(k)] + i; });
        }
        if (progress.fnAborts(x, end))
            return false;
    }
    return true;
}

/// Both passes, in the order of `CqImage::fnResample`.
bool fnFilter(const CqTileMap& from, CqTileMap& to, CqProgressDisplay* progress) {
    const double scaleX = static_cast<double>(to.Width) / from.Width;
    const double scaleY = static_cast<double>(to.Height) / from.Height;
    if (from.Width == to.Width)
        return fnFilterHeight(from, to, scaleY, {progress, to.Width});
    if (from.Height == to.Height)
        return fnFilterWidth(from, to, scaleX, {progress, to.Height});
    const bool rowsFirst = to.Width < to.Height;
    CqTileMap between(rowsFirst ? to.Width : from.Width, rowsFirst ? from.Height : to.Height,
                      to.BitCount, nullptr, 0);
    const bool done = rowsFirst
                          ? fnFilterWidth(from, between, scaleX, {progress, from.Height, 0, 50}) &&
                                fnFilterHeight(between, to, scaleY, {progress, to.Width, 50, 50})
                          : fnFilterHeight(from, between, scaleY, {progress, from.Width, 0, 50}) &&
                                fnFilterWidth(between, to, scaleX, {progress, to.Height, 50, 50});
    between.fnRequirePixels();
    return done;
}

bool fnIsOpaque(const CqTileMap& map) {
    if (map.BitCount != 32)
        return true;
    unsigned int all = 255;
    q32::fnForEachBand(map, q32::fnWholeRect(map), nullptr, [&](const q32::TilePiece& piece) {
        const std::size_t bytes = piece.m_nStride * static_cast<std::size_t>(piece.m_rect.Height());
        for (std::size_t i = 0; i < bytes && all == 255; i += piece.m_nStride)
            for (std::size_t j = 0; j < piece.m_nStride; j += kBytes)
                all &= piece.m_pPixels[i + j];
    });
    return all == 255;
}

} // namespace

bool q32ResampleByAlpha(CqImage& image, unsigned int width, unsigned int height,
                        CqProgressDisplay* progress) {
    if (!image.TileMap)
        return false;
    if (width == image.Width && height == image.Height)
        return true;
    const CqTileMap& from = *image.TileMap;
    if (fnIsOpaque(from)) {
        image.fnResample(width, height, true, progress);
        return image.Width == width && image.Height == height;
    }
    std::unique_ptr<CqTileMap> map(
        q32::fnNew<CqTileMap>(width, height, from.BitCount, nullptr, 0u));
    return fnFilter(from, *map, progress) &&
           q32::ImageStorage::fnReplace(image, std::move(map), progress);
}
