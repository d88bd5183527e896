#include "q32Base/framework/CheckedSize_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelFormat_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <span>

namespace {

using q32::DibLayout;
using q32::fnDibStride;
using q32::fnReadDibLayout;
using q32::kDibHeaderBytes;
using q32::kDibMaskBytes;
using q32::kDibMasks565;

constexpr unsigned int kWholeRow = 0xFFFFFFFFu;

std::span<const unsigned char> fnBlock(const BITMAPINFOHEADER* header, std::size_t size) {
    return {reinterpret_cast<const unsigned char*>(header), size};
}

/// Bytes of a block as its header declares them. An RLE stream of undeclared length extends to its
/// end mark.
std::size_t fnGetDeclaredSize(const DibLayout& layout) {
    const BITMAPINFOHEADER& header = layout.m_Header;
    if (header.biCompression == BI_RLE8)
        return header.biSizeImage
                   ? std::max(kDibHeaderBytes,
                              static_cast<std::size_t>(layout.m_nPixelsAt + header.biSizeImage))
                   : static_cast<std::size_t>(-1) / 2;
    const std::uint64_t pixels =
        std::uint64_t{layout.m_nHeight} *
        fnDibStride(static_cast<std::uint32_t>(header.biWidth), header.biBitCount);
    const std::uint64_t size =
        std::max<std::uint64_t>(layout.m_nPixelsAt, kDibHeaderBytes + 4ull * layout.m_nColors) +
        pixels;
    const std::size_t masks = header.biCompression == BI_BITFIELDS ? kDibMaskBytes : 0;
    // The block holds the masks even if they are longer than the pixels that they count as.
    return static_cast<std::size_t>(std::max<std::uint64_t>(size, kDibHeaderBytes + masks));
}

/// A map of that geometry with the header's colour table, as far as the block holds it; the other
/// entries are black.
CqTileMap* fnMakeMap(const DibLayout& layout, std::span<const unsigned char> block,
                     std::uint32_t height) {
    constexpr std::uint32_t kMaxColors = 256;
    const BITMAPINFOHEADER& header = layout.m_Header;
    if (header.biWidth <= 0 || height == 0 || !q32::fnFindPixelFormat(header.biBitCount))
        AfxThrowResourceException();
    RGBQUAD table[kMaxColors] = {};
    const std::uint32_t count = std::min(layout.m_nColors, kMaxColors);
    // Deliberately read at byte 40, whatever length the header declares.
    const std::size_t there =
        std::min<std::size_t>(block.size() - kDibHeaderBytes, count * sizeof(RGBQUAD));
    std::memcpy(table, block.data() + kDibHeaderBytes, there);
    return q32::fnNew<CqTileMap>(static_cast<std::uint32_t>(header.biWidth), height,
                                 header.biBitCount, table, count);
}

/// Whether 16-bit pixels of a block are 5-6-5 already.
bool fnIs565(const DibLayout& layout) {
    if (layout.m_Header.biCompression == BI_RGB)
        return false;
    return layout.m_Header.biCompression != BI_BITFIELDS ||
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
    const auto* header = static_cast<const BITMAPINFOHEADER*>(data.m_pBytes);
    const auto layout = fnReadDibLayout(fnBlock(header, data.m_nSize));
    if (!layout)
        AfxThrowResourceException();
    fnTakeBuf(std::unique_ptr<CqTileMap>(
        fnMakeMap(*layout, fnBlock(header, data.m_nSize), layout->m_nHeight)));
    if (header->biCompression > BI_BITFIELDS) {
        fnFreeBuf();
        AfxThrowResourceException();
    }
    fnTakeDib(header, data.m_nSize);
    TileMap->fnRequirePixels();
    if (depth != 0)
        fnConvert(depth, true, nullptr);
}

CqImage& CqImage::operator=(BITMAPINFOHEADER* const header) {
    const auto layout = fnReadDibLayout(fnBlock(header, kDibHeaderBytes));
    const std::size_t size = fnGetDeclaredSize(*layout);
    // A negative height becomes a large unsigned number, which no image can have.
    fnTakeBuf(std::unique_ptr<CqTileMap>(
        fnMakeMap(*layout, fnBlock(header, size), static_cast<std::uint32_t>(header->biHeight))));
    fnTakeDib(header, size);
    TileMap->fnRequirePixels();
    DpiX = header->biXPelsPerMeter;
    DpiY = header->biYPelsPerMeter;
    return *this;
}

/// Copies the pixels by the compression; an unknown one leaves them as allocated.
void CqImage::fnTakeDib(const BITMAPINFOHEADER* header, std::size_t size) {
    switch (header->biCompression) {
    case BI_RLE4:
        return fnDecompressRle4(header, size);
    case BI_RLE8:
        return fnDecompressRle8(header, size);
    case BI_RGB:
    case BI_BITFIELDS:
        return fnTransferDib(header, size);
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

    auto* header = new (block) BITMAPINFOHEADER{};
    header->biSize = kDibHeaderBytes;
    header->biWidth = static_cast<LONG>(Width);
    header->biHeight = static_cast<LONG>(Height);
    header->biPlanes = 1;
    header->biBitCount = static_cast<WORD>(BitCount);
    auto* bytes = static_cast<unsigned char*>(block);
    if (q32::fnIsIndexed(BitCount)) {
        std::memcpy(bytes + kDibHeaderBytes, TileMap->Palette.get(),
                    sizeof(RGBQUAD) * PaletteCount);
        header->biClrUsed = PaletteCount == 1u << BitCount ? 0 : PaletteCount;
    } else if (BitCount == 16) {
        header->biCompression = BI_BITFIELDS;
        std::memcpy(bytes + kDibHeaderBytes, kDibMasks565.data(), kDibMaskBytes);
    }

    unsigned char* row = bytes + head + Height * stride;
    CqImageLine line;
    for (std::uint32_t y = 0; y < Height; ++y) {
        row -= stride;
        fnAccessLine(y, &line, true);
        if (BitCount == 16)
            line.fnReversePixel(true, true);
        else if (BitCount > 16)
            line.fnReversePixel(0, kWholeRow);
        std::memcpy(row, line.LineBuffer, RowBytes);
        if (stride > RowBytes)
            std::memset(row + RowBytes, 0, stride - RowBytes);
    }
    TileMap->fnRequirePixels();
    static_cast<void>(owner.release());
    return header;
}

void CqImage::fnTransferDib(const BITMAPINFOHEADER* header, std::size_t size) {
    const std::span<const unsigned char> block = fnBlock(header, size);
    const DibLayout layout = *fnReadDibLayout(block);
    const std::size_t stride = fnDibStride(Width, BitCount);
    const bool swapOnly = fnIs565(layout);
    CqImageLine line;
    for (std::uint32_t y = 0; y < Height; ++y) {
        const std::uint64_t stored = layout.m_bTopDown ? y : Height - 1 - y;
        const std::uint64_t at = layout.m_nPixelsAt + stored * stride;
        if (at >= size)
            continue; // a row beyond the block stays as it is
        fnAccessLine(y, &line, false);
        std::memcpy(line.LineBuffer, block.data() + at,
                    std::min<std::size_t>(RowBytes, size - static_cast<std::size_t>(at)));
        if (BitCount >= 24)
            line.fnReversePixel(0, kWholeRow);
        else if (BitCount == 16)
            line.fnReversePixel(swapOnly, true);
    }
}

void CqImage::fnDecompressRle4(const BITMAPINFOHEADER*, std::size_t) {
    // Deliberate: such a bitmap gives an image of the right size and palette with its pixels not
    // set.
}
