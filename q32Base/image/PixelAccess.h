/// @file
/// Access to an image's pixels for hosts, views and plug-ins: rows, rectangles and scattered
/// pixels, at any depth, with the colours of palette images resolved.
///
///     std::vector<unsigned char> row(4 * image.Width);
///     CqPixelReader reader(image, PIXEL_BGRA32);
///     for (unsigned int y = 0; y < image.Height; ++y)
///         reader.fnReadRow(0, y, image.Width, row.data());
///
/// 16 bits are read and written as images store them: 5-6-5, high byte first, as do fills and
/// drawing. Single-pixel access of CqImage differs from that at 16 bits, deliberately.
///
/// Nothing is read or written outside the image, or outside the rectangle or run of a call: any
/// such argument is refused before the first byte. Claims of accessors are ignored. No gamma is
/// applied. Nothing is allocated, and nothing throws. An image, with all its readers and writers,
/// is used by one thread at a time.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/pixels/PixelConversion.h"
#include "q32Base/pixels/PixelOrder.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>

class CqImage;
class CqTileMap;

/// Reads pixels of one image in one order. The image must outlive the reader; every call is refused
/// if it has no storage, or if its storage has changed since the reader was made.
///
/// Colours are those of the palette when the reader was made; an index beyond it is black. A grey
/// is (77 red + 150 green + 29 blue) / 256, rounded down.
class Q32_API CqPixelReader {
public:
    /// Takes the palette and the conversion of the image's present depth.
    CqPixelReader(const CqImage& image, PIXEL_ORDER order) noexcept;

    /// Bytes per pixel in the reader's order.
    std::size_t fnGetPixelBytes() const { return m_nPixelBytes; }

    /// Reads a rectangle, from its top row on, into rows that lie `stride` bytes apart. An empty
    /// rectangle reads nothing. False for one that isn't inside the image or is inverted, and for a
    /// stride shorter than a row.
    bool fnRead(const CRect& rect, void* out, std::size_t stride) const;
    /// Reads `count` pixels from (x, y) on. False for a run that isn't inside the image.
    bool fnReadRow(std::uint32_t x, std::uint32_t y, std::uint32_t count, void* out) const;
    /// Reads the pixels of row `y` at the listed columns, which may be in any order. False if one
    /// of them isn't inside the image.
    bool fnPick(std::uint32_t y, const std::uint32_t* columns, std::size_t count, void* out) const;
    /// Reads the pixels where the listed rows and columns cross, into rows that lie `stride` bytes
    /// apart. A row equal to the one before it in the list is read once. False also for a stride
    /// shorter than a row.
    bool fnPick(const std::uint32_t* rows, std::size_t rowCount, const std::uint32_t* columns,
                std::size_t count, void* out, std::size_t stride) const;

private:
    const CqImage& m_Image;
    const CqTileMap* m_pMap;
    std::uint64_t m_nSerial;
    q32::PixelDecoder m_Run;
    std::size_t m_nPixelBytes;
};

/// Writes pixels of one image in one order. The image must outlive the writer, as with a reader.
///
/// A palette image takes the first entry of equal red, green and blue in the palette as it was when
/// the writer was made, or entry 0 if there is none, like `CqImage::fnSetPixelColor`. 16 bits drop
/// the low bits. Orders without alpha write 255 at 32 bits. A grey writes equal red, green and
/// blue. Stored indices of a 4-bit image lose their high four bits.
class Q32_API CqPixelWriter {
public:
    /// Takes the palette and the conversion to the image's present depth.
    CqPixelWriter(CqImage& image, PIXEL_ORDER order) noexcept;

    /// Bytes per pixel in the writer's order.
    std::size_t fnGetPixelBytes() const { return m_nPixelBytes; }

    /// The counterparts of the reader's functions; they refuse the same arguments.
    bool fnWrite(const CRect& rect, const void* in, std::size_t stride) const;
    bool fnWriteRow(std::uint32_t x, std::uint32_t y, std::uint32_t count, const void* in) const;

private:
    const CqImage& m_Image;
    const CqTileMap* m_pMap;
    std::uint64_t m_nSerial;
    q32::PixelEncoder m_Run;
    std::size_t m_nPixelBytes;
};

/// Read and write one rectangle, with a temporary reader or writer.
Q32_API bool q32ReadPixels(const CqImage& image, const CRect& rect, PIXEL_ORDER order, void* out,
                           std::size_t stride);
Q32_API bool q32WritePixels(CqImage& image, const CRect& rect, PIXEL_ORDER order, const void* in,
                            std::size_t stride);
