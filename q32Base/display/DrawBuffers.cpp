#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/display/DrawBuffers_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace q32 {
namespace {

bool fnIsDeviceDepth(std::uint32_t bits) {
    return bits == 8 || bits == 24 || bits == 32;
}

/// Replaces DrawDib by a new one for `capacity` bytes of pixels.
void fnMakeDib(CqTileMap& map, std::uint32_t depth, std::uint32_t capacity) {
    const std::size_t slot = fnIsIndexed(depth) ? std::size_t{4} << depth : 0;
    const std::size_t bytes = kDibHeaderBytes + slot + capacity;
    void* block = ::operator new(bytes, std::nothrow);
    if (!block)
        AfxThrowMemoryException();
    std::memset(block, 0, bytes);
    const auto height =
        static_cast<std::int32_t>(std::min(map.TileHeight, CqTileMap::kMaxTileSize));
    auto* header = new (block) BITMAPINFOHEADER(
        fnMakeDibHeader(std::min(map.TileWidth, CqTileMap::kMaxTileSize), height, depth));
    if (slot != 0) {
        auto* index = reinterpret_cast<WORD*>(header + 1);
        for (unsigned int i = 0; i < 256; ++i)
            index[i] = static_cast<WORD>(i);
    }
    map.DrawDib.reset(header);
    map.DrawDibCapacity = capacity;
}

void fnMakeScratch(CqTileMap& map, std::uint32_t capacity) {
    auto* block = fnNewArray<unsigned char>(capacity);
    std::memset(block, 0, capacity);
    map.DrawScratch.reset(block);
    map.DrawScratchCapacity = capacity;
}

bool fnMakePalette(CqTileMap& map) {
    auto palette = std::unique_ptr<CPalette>(fnNew<CPalette>());
    if (!map.fnCreatePalette(*palette))
        return false;
    map.DrawPalette = std::move(palette);
    return true;
}

bool fnEnsure(CqTileMap& map, std::uint32_t width, std::uint32_t height) {
    const CqDisplayProperty* display = q32GetDisplayProperty();
    const std::uint32_t depth = display ? display->fnGetColorDepth() : 0;
    if (!fnIsDeviceDepth(depth))
        return false;
    const std::uint64_t dib = std::uint64_t{fnDibStride(width, depth)} * height;
    const std::uint64_t rowBytes =
        fnIsIndexed(map.BitCount) ? width : std::uint64_t{map.BitCount} * width >> 3;
    const std::uint64_t scratch = rowBytes * height;
    if (std::max(dib, scratch) > 0xFFFFFFFFu)
        return false;
    if (!map.DrawDib || map.DrawDib->biBitCount != depth || dib > map.DrawDibCapacity)
        fnMakeDib(map, depth, std::max(static_cast<std::uint32_t>(dib), map.DibTileBytes));
    if (!map.DrawScratch || scratch > map.DrawScratchCapacity)
        fnMakeScratch(map, std::max(static_cast<std::uint32_t>(scratch), map.PackedTileBytes));
    if (!map.DrawPalette && depth == 8 && fnIsIndexed(map.BitCount))
        return fnMakePalette(map);
    return true;
}

} // namespace

bool fnEnsureDrawBuffers(CqTileMap& map) {
    return fnEnsureDrawBuffers(map, 0, 0);
}

bool fnEnsureDrawBuffers(CqTileMap& map, std::uint32_t width, std::uint32_t height) {
    return fnTryMemory([&] { return fnEnsure(map, width, height); });
}

} // namespace q32
