/// @file
/// What reading and writing a pixel means, spelt out for one pixel at a time.
#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelOrder.h"

#include <algorithm>
#include <vector>

namespace q32::test {

using Bytes = std::vector<unsigned char>;

struct PlainColor {
    unsigned int red, green, blue, alpha;
};

/// Bytes of a pixel in an order.
inline unsigned int fnBytesOf(unsigned int bits, PIXEL_ORDER order) {
    if (order == PIXEL_STORED)
        return bits < 8 ? 1 : bits / 8;
    return order == PIXEL_RGB24 || order == PIXEL_BGR24 ? 3 : order == PIXEL_GREY8 ? 1 : 4;
}

/// A pixel of a row as stored bytes, at 4 bits one byte.
inline Bytes fnStored(unsigned int bits, const Bytes& row, unsigned int x) {
    if (bits == 4)
        return {static_cast<unsigned char>(x % 2 == 0 ? row[x / 2] / 16 : row[x / 2] % 16)};
    return Bytes(row.begin() + x * (bits / 8), row.begin() + (x + 1) * (bits / 8));
}

/// Puts those into a row.
inline void fnStore(unsigned int bits, Bytes& row, unsigned int x, const Bytes& pixel) {
    if (bits != 4) {
        std::copy(pixel.begin(), pixel.end(), row.begin() + x * (bits / 8));
        return;
    }
    unsigned char& pair = row[x / 2];
    const unsigned int index = pixel[0] % 16u;
    pair = static_cast<unsigned char>(x % 2 == 0 ? pair % 16 + index * 16 : pair / 16 * 16 + index);
}

/// The colour that stored bytes mean.
inline PlainColor fnColorOf(const CqImage& image, const Bytes& stored) {
    if (image.BitCount <= 8) {
        const RGBQUAD& entry = image.TileMap->Palette[stored[0]];
        return {entry.rgbRed, entry.rgbGreen, entry.rgbBlue, 255};
    }
    if (image.BitCount == 16) {
        const unsigned int value = stored[0] * 256u + stored[1];
        return {value / 2048 * 8, value / 32 % 64 * 4, value % 32 * 8, 255};
    }
    if (image.BitCount == 24)
        return {stored[0], stored[1], stored[2], 255};
    return {stored[1], stored[2], stored[3], stored[0]};
}

/// The bytes that a pixel is read as.
inline Bytes fnInOrder(const CqImage& image, const Bytes& stored, PIXEL_ORDER order) {
    const PlainColor c = fnColorOf(image, stored);
    const auto byte = [](unsigned int value) { return static_cast<unsigned char>(value); };
    switch (order) {
    case PIXEL_STORED:
        return stored;
    case PIXEL_ARGB32:
        return {byte(c.alpha), byte(c.red), byte(c.green), byte(c.blue)};
    case PIXEL_BGRA32:
        return {byte(c.blue), byte(c.green), byte(c.red), byte(c.alpha)};
    case PIXEL_BGRX32:
        return {byte(c.blue), byte(c.green), byte(c.red), 255};
    case PIXEL_RGB24:
        return {byte(c.red), byte(c.green), byte(c.blue)};
    case PIXEL_BGR24:
        return {byte(c.blue), byte(c.green), byte(c.red)};
    default:
        return {byte((77 * c.red + 150 * c.green + 29 * c.blue) / 256)};
    }
}

/// The stored bytes of a pixel written in a given order.
inline Bytes fnToStored(const CqImage& image, const Bytes& in, PIXEL_ORDER order) {
    if (order == PIXEL_STORED)
        return in;
    const PlainColor c = order == PIXEL_ARGB32   ? PlainColor{in[1], in[2], in[3], in[0]}
                         : order == PIXEL_BGRA32 ? PlainColor{in[2], in[1], in[0], in[3]}
                         : order == PIXEL_BGRX32 ? PlainColor{in[2], in[1], in[0], 255}
                         : order == PIXEL_RGB24  ? PlainColor{in[0], in[1], in[2], 255}
                         : order == PIXEL_BGR24  ? PlainColor{in[2], in[1], in[0], 255}
                                                 : PlainColor{in[0], in[0], in[0], 255};
    const auto byte = [](unsigned int value) { return static_cast<unsigned char>(value); };
    switch (image.BitCount) {
    case 16: {
        const unsigned int value = c.red / 8 * 2048 + c.green / 4 * 32 + c.blue / 8;
        return {byte(value / 256), byte(value)};
    }
    case 24:
        return {byte(c.red), byte(c.green), byte(c.blue)};
    case 32:
        return {byte(c.alpha), byte(c.red), byte(c.green), byte(c.blue)};
    default:
        for (unsigned int i = 0; i < image.PaletteCount; ++i) {
            const RGBQUAD& entry = image.TileMap->Palette[i];
            if (entry.rgbRed == c.red && entry.rgbGreen == c.green && entry.rgbBlue == c.blue)
                return {byte(i)};
        }
        return {0};
    }
}

} // namespace q32::test
