#include "plugins/PixelRows.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace q32 {

namespace {

constexpr double kMetersPerInch = 0.0254;

/// Two pixels a byte, even x in the high nibble.
void fnStoreNibbles(unsigned char* row, std::size_t x, std::size_t count, const unsigned char* in) {
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char* pair = row + (x + i) / 2;
        const unsigned int index = in[i] & 0x0Fu;
        *pair = static_cast<unsigned char>((x + i) % 2 == 0 ? (*pair & 0x0Fu) | index << 4
                                                            : (*pair & 0xF0u) | index);
    }
}

void fnFetchNibbles(const unsigned char* row, std::size_t x, std::size_t count,
                    unsigned char* out) {
    for (std::size_t i = 0; i < count; ++i)
        out[i] = (x + i) % 2 == 0 ? row[(x + i) / 2] >> 4 : row[(x + i) / 2] & 0x0F;
}

/// Calls `work(row, x, count)` for each tile that the run crosses: the tile's row, the place in it,
/// and the pixels there.
template <typename Work>
void fnForEachPiece(CqImage& image, CqImageTile& tile, std::uint32_t x, std::uint32_t y,
                    std::uint32_t count, const Work& work) {
    while (count > 0) {
        CPoint position(static_cast<LONG>(x), static_cast<LONG>(y));
        image.fnAccessTile(position, &tile);
        const std::uint32_t piece = std::min(count, static_cast<std::uint32_t>(tile.Right) - x);
        const std::size_t inTile = y - static_cast<std::uint32_t>(tile.Top);
        work(tile.Pixels + inTile * tile.RowBytes, x - static_cast<std::uint32_t>(tile.Left),
             piece);
        x += piece;
        count -= piece;
    }
}

} // namespace

void fnFetchPixels(CqImage& image, CqImageTile& tile, std::uint32_t x, std::uint32_t y,
                   std::uint32_t count, unsigned char* out) {
    const std::size_t bytes = image.BytesPerPixel;
    fnForEachPiece(image, tile, x, y, count,
                   [&](const unsigned char* row, std::size_t inTile, std::size_t piece) {
                       if (bytes == 0)
                           fnFetchNibbles(row, inTile, piece, out);
                       else
                           std::memcpy(out, row + inTile * bytes, piece * bytes);
                       out += piece * std::max<std::size_t>(bytes, 1);
                   });
}

void fnStorePixels(CqImage& image, CqImageTile& tile, std::uint32_t x, std::uint32_t y,
                   std::uint32_t count, const unsigned char* in) {
    const std::size_t bytes = image.BytesPerPixel;
    fnForEachPiece(image, tile, x, y, count,
                   [&](unsigned char* row, std::size_t inTile, std::size_t piece) {
                       if (bytes == 0)
                           fnStoreNibbles(row, inTile, piece, in);
                       else
                           std::memcpy(row + inTile * bytes, in, piece * bytes);
                       in += piece * std::max<std::size_t>(bytes, 1);
                   });
}

void fnUnpackBits(const unsigned char* in, unsigned int bits, std::size_t count,
                  unsigned char* out) {
    if (bits == 8) {
        std::memcpy(out, in, count);
        return;
    }
    const std::size_t perByte = 8 / bits;
    const unsigned int mask = (1u << bits) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        const auto shift = static_cast<unsigned int>((perByte - 1 - i % perByte) * bits);
        out[i] = static_cast<unsigned char>(in[i / perByte] >> shift & mask);
    }
}

void fnPackNibbles(const unsigned char* in, std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count; i += 2)
        out[i / 2] =
            static_cast<unsigned char>(in[i] << 4 | (i + 1 < count ? in[i + 1] & 0x0F : 0));
}

void fnExpand565(const unsigned char* in, std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count; ++i, in += 2, out += 3) {
        const unsigned int value = static_cast<unsigned int>(in[0]) << 8 | in[1];
        out[0] = static_cast<unsigned char>(value >> 8 & 0xF8);
        out[1] = static_cast<unsigned char>(value >> 3 & 0xFC);
        out[2] = static_cast<unsigned char>(value << 3 & 0xF8);
    }
}

void fnCmykToRgb(const unsigned char* in, std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count; ++i, in += 4, out += 3) {
        const unsigned int light = 255u - in[3];
        for (int channel = 0; channel < 3; ++channel)
            out[channel] = static_cast<unsigned char>(((255u - in[channel]) * light + 127) / 255);
    }
}

std::int32_t fnDotsPerInch(double dotsPerMeter) {
    const double dots = std::round(dotsPerMeter * kMetersPerInch);
    return dots >= 1 && dots <= INT32_MAX ? static_cast<std::int32_t>(dots) : 0;
}

std::uint32_t fnDotsPerMeter(std::int32_t dotsPerInch) {
    const double dots = std::round(dotsPerInch / kMetersPerInch);
    return dots >= 1 && dots <= INT32_MAX ? static_cast<std::uint32_t>(dots) : 0;
}

} // namespace q32
