#include "q32Base/framework/CheckedSize_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelFormat_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <utility>

namespace {

using q32::DibLayout;
using q32::fnDibStride;
using q32::fnReadDibLayout;
using q32::kDibHeaderBytes;
using q32::kDibMaskBytes;
using q32::kDibMasks565;

constexpr unsigned int kWholeRow = 0xFFFFFFFFu;
constexpr double kDibInterchangeByteTime = 0.15; ///< nanoseconds

std::span<const unsigned char> fnBlock(const void* header, std::size_t size) {
    return {static_cast<const unsigned char*>(header), size};
}

/// The size of a block that its header doesn't bound.
constexpr std::size_t kUnbounded = static_cast<std::size_t>(-1) / 2;

/// Bytes of a block as its header declares them. An RLE stream of undeclared length extends to its
/// end mark.
std::size_t fnGetDeclaredSize(const DibLayout& layout) {
    const BITMAPINFOHEADER& header = layout.m_Header;
    if (header.biCompression == BI_RLE8)
        return header.biSizeImage
                   ? std::max(kDibHeaderBytes,
                              static_cast<std::size_t>(layout.m_nPixelsAt + header.biSizeImage))
                   : kUnbounded;
    const q32::CheckedSize pixels =
        q32::CheckedSize(layout.m_nHeight) *
        fnDibStride(static_cast<std::uint32_t>(header.biWidth), header.biBitCount);
    const q32::CheckedSize declared =
        pixels +
        std::max<std::uint64_t>(layout.m_nPixelsAt, kDibHeaderBytes + 4ull * layout.m_nColors);
    const std::size_t size = declared.fnGet().value_or(kUnbounded);
    const std::size_t masks = header.biCompression == BI_BITFIELDS ? kDibMaskBytes : 0;
    // The block holds the masks even if they are longer than the pixels that they count as.
    return std::max(size, kDibHeaderBytes + masks);
}

void fnRequireGeometry(const BITMAPINFOHEADER& header, std::uint32_t height) {
    if (header.biWidth <= 0 || height == 0 || !q32::fnFindPixelFormat(header.biBitCount))
        AfxThrowResourceException();
}

/// A map of that geometry with the header's colour table, as far as the block holds it; the other
/// entries are black.
std::unique_ptr<CqTileMap> fnMakeMap(const DibLayout& layout, std::span<const unsigned char> block,
                                     std::uint32_t height) {
    constexpr std::uint32_t kMaxColors = 256;
    const BITMAPINFOHEADER& header = layout.m_Header;
    fnRequireGeometry(header, height);
    RGBQUAD table[kMaxColors] = {};
    const std::uint32_t count = std::min(layout.m_nColors, kMaxColors);
    assert(block.size() >= kDibHeaderBytes);
    // Deliberately read at byte 40, whatever length the header declares.
    const std::size_t there =
        std::min<std::size_t>(block.size() - kDibHeaderBytes, count * sizeof(RGBQUAD));
    std::memcpy(table, block.data() + kDibHeaderBytes, there);
    return std::unique_ptr<CqTileMap>(q32::fnNew<CqTileMap>(
        static_cast<std::uint32_t>(header.biWidth), height, header.biBitCount, table, count));
}

/// Whether there is a byte for every so many pixels, so that a few bytes can't demand gigabytes.
bool fnIsPlausible(const DibLayout& layout, std::uint64_t bytes) {
    constexpr std::uint64_t kMaxPixelsPerByte = 65536;
    const auto width = static_cast<std::uint32_t>(layout.m_Header.biWidth);
    return std::uint64_t{width} * layout.m_nHeight / kMaxPixelsPerByte <= bytes;
}

/// Whether a block of that size holds everything that its header declares.
bool fnIsWhole(const DibLayout& layout, std::uint64_t size) {
    const BITMAPINFOHEADER& header = layout.m_Header;
    if (!layout.fnHasPixels() || header.biSize < kDibHeaderBytes || layout.m_nPixelsAt > size)
        return false;
    const std::uint64_t room = size - layout.m_nPixelsAt;
    const auto width = static_cast<std::uint32_t>(header.biWidth);
    switch (header.biCompression) {
    case BI_RLE8:
    case BI_RLE4:
        return fnIsPlausible(layout, room);
    case BI_RGB:
    case BI_BITFIELDS: // the masks count as pixels
        return layout.m_nHeight <=
               room / std::max<std::uint64_t>(fnDibStride(width, header.biBitCount), 1);
    default:
        return false;
    }
}

/// Whether 16-bit pixels of a block are 5-6-5 already.
bool fnIs565(const DibLayout& layout) {
    return layout.m_Header.biCompression == BI_BITFIELDS &&
           std::memcmp(layout.m_Masks.data(), kDibMasks565.data(), kDibMaskBytes) == 0;
}

} // namespace

void CqImage::fnLoad(int id, unsigned int depth) {
    CqResourceData data;
    const bool found = q32::fnGuardMemory([&] {
        return q32::fnPlatform().m_pResources->fnFind(
            nullptr, RT_BITMAP_ID, static_cast<WORD>(static_cast<unsigned int>(id) & 0xFFFF), data);
    });
    if (!found)
        AfxThrowResourceException();
    const auto block = fnBlock(data.m_pBytes, data.m_nSize);
    const auto layout = fnReadDibLayout(block);
    if (!layout)
        AfxThrowResourceException();
    fnRequireGeometry(layout->m_Header, layout->m_nHeight);
    if (!fnIsPlausible(*layout, block.size()))
        AfxThrowMemoryException();
    auto map = fnMakeMap(*layout, block, layout->m_nHeight);
    if (layout->m_Header.biCompression > BI_BITFIELDS) {
        // Deliberate: the storage is gone, and the mirror fields describe that of the bitmap.
        fnTakeBuf(std::move(map));
        fnFreeBuf();
        AfxThrowResourceException();
    }
    fnTakeDib(*map, *layout, block);
    if (depth == 0)
        return fnTakeBuf(std::move(map));
    CqImage loaded;
    loaded.fnTakeBuf(std::move(map));
    loaded.fnConvert(depth, true, nullptr);
    fnSwapBuf(loaded);
}

CqImage& CqImage::operator=(BITMAPINFOHEADER* const header) {
    const auto layout = fnReadDibLayout(fnBlock(header, kDibHeaderBytes));
    const auto block = fnBlock(header, fnGetDeclaredSize(*layout));
    // A negative height becomes a large unsigned number, which no image can have.
    auto map = fnMakeMap(*layout, block, static_cast<std::uint32_t>(header->biHeight));
    fnTakeDib(*map, *fnReadDibLayout(block), block);
    fnTakeBuf(std::move(map));
    DpiX = header->biXPelsPerMeter;
    DpiY = header->biYPelsPerMeter;
    return *this;
}

void CqImage::fnTake(std::span<const std::byte> bitmap) {
    auto block = fnBlock(bitmap.data(), bitmap.size());
    const auto layout = fnReadDibLayout(block);
    if (!layout || !fnIsWhole(*layout, block.size()))
        AfxThrowResourceException();
    block = block.first(std::min(block.size(), fnGetDeclaredSize(*layout)));
    auto map = fnMakeMap(*layout, block, layout->m_nHeight);
    fnTakeDib(*map, *layout, block);
    fnTakeBuf(std::move(map));
    DpiX = layout->m_Header.biXPelsPerMeter;
    DpiY = layout->m_Header.biYPelsPerMeter;
}

/// Copies the pixels by the compression; an unknown one leaves them as allocated.
void CqImage::fnTakeDib(CqTileMap& map, const DibLayout& layout,
                        std::span<const unsigned char> block) {
    switch (layout.m_Header.biCompression) {
    case BI_RLE4:
        return fnDecompressRle4(map, layout, block);
    case BI_RLE8:
        return fnDecompressRle8(map, layout, block);
    case BI_RGB:
    case BI_BITFIELDS:
        return fnTransferDib(map, layout, block);
    default:
        return;
    }
}

CqImage::operator BITMAPINFOHEADER*() {
    const std::size_t stride = fnDibStride(Width, BitCount);
    const std::size_t head =
        kDibHeaderBytes + (q32::fnIsIndexed(BitCount) ? sizeof(RGBQUAD) * PaletteCount
                           : BitCount == 16           ? kDibMaskBytes
                                                      : 0);
    // A 4-bit row can be longer than the stride: it then extends into its neighbour, and the last
    // one in memory beyond the end, into the slack.
    constexpr std::size_t kSlack = 4;
    const q32::CheckedSize size = q32::CheckedSize(Height) * stride + head + kSlack;
    void* block = ::operator new(size.fnGetOrThrow(), std::nothrow);
    if (!block)
        AfxThrowMemoryException();
    struct Free {
        void operator()(void* memory) const { ::operator delete(memory); }
    };
    std::unique_ptr<void, Free> owner(block);

    auto* header = new (block)
        BITMAPINFOHEADER(q32::fnMakeDibHeader(Width, static_cast<std::int32_t>(Height), BitCount));
    auto* bytes = static_cast<unsigned char*>(block);
    if (q32::fnIsIndexed(BitCount)) {
        std::memcpy(bytes + kDibHeaderBytes, TileMap->Palette.get(),
                    sizeof(RGBQUAD) * PaletteCount);
        header->biClrUsed = PaletteCount == 1u << BitCount ? 0 : PaletteCount;
    } else if (BitCount == 16) {
        header->biCompression = BI_BITFIELDS;
        std::memcpy(bytes + kDibHeaderBytes, kDibMasks565.data(), kDibMaskBytes);
    }

    // Rows that overlap need their order.
    const q32::Parallel rows(Height, kDibInterchangeByteTime * RowBytes,
                             RowBytes <= stride ? q32::Parallel::kAnyBatch : 1);
    rows.fnRun([&](std::uint32_t, std::uint32_t y, std::uint32_t end) {
        CqImageLine line;
        for (; y < end; ++y) {
            unsigned char* row = bytes + head + (Height - 1 - y) * stride;
            fnAccessLine(y, &line, true);
            if (BitCount == 16)
                line.fnReversePixel(true, true);
            else if (BitCount > 16)
                line.fnReversePixel(0, kWholeRow);
            std::memcpy(row, line.LineBuffer, RowBytes);
            if (stride > RowBytes)
                std::memset(row + RowBytes, 0, stride - RowBytes);
        }
    });
    TileMap->fnRequirePixels();
    static_cast<void>(owner.release());
    return header;
}

void CqImage::fnTransferDib(CqTileMap& map, const DibLayout& layout,
                            std::span<const unsigned char> block) {
    const std::size_t stride = fnDibStride(map.Width, map.BitCount);
    const bool swapOnly = fnIs565(layout);
    const q32::Parallel rows(map.Height, kDibInterchangeByteTime * map.RowBytes);
    rows.fnRun([&](std::uint32_t, std::uint32_t y, std::uint32_t end) {
        CqImageLine line;
        for (; y < end; ++y) {
            const std::uint64_t stored = layout.m_bTopDown ? y : map.Height - 1 - y;
            const std::uint64_t at = layout.m_nPixelsAt + stored * stride;
            if (at >= block.size())
                continue; // a row beyond the block stays as it is
            const std::size_t left = block.size() - static_cast<std::size_t>(at);
            map.fnAccessLine(y, &line, false);
            std::memcpy(line.LineBuffer, block.data() + at,
                        std::min<std::size_t>(map.RowBytes, left));
            if (map.BitCount >= 24)
                line.fnReversePixel(0, kWholeRow);
            else if (map.BitCount == 16)
                line.fnReversePixel(swapOnly, true);
        }
    });
}

void CqImage::fnDecompressRle4(CqTileMap&, const DibLayout&, std::span<const unsigned char>) {
    // Deliberate: such a bitmap gives an image of the right size and palette with its pixels not
    // set.
}
