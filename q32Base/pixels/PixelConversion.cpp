#include "q32Base/pixels/PixelConversion.h"

#include "q32Base/pixels/Nibbles_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace q32 {

namespace {

/// Pixels converted at a time where an intermediate form is needed.
constexpr std::size_t kChunk = 256;

/// Sets byte `place` of each of `count` pixels of four bytes to 255.
void fnMakeOpaque(std::uint8_t* pixels, std::size_t count, std::size_t place) {
    std::uint8_t bytes[4] = {};
    bytes[place] = 255;
    std::uint32_t mask = 0;
    std::memcpy(&mask, bytes, 4);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, pixels + 4 * i, 4);
        pixel |= mask;
        std::memcpy(pixels + 4 * i, &pixel, 4);
    }
}

/// Calls `work(done, count)` for parts of a run.
template <class Work>
void fnForEachChunk(std::size_t count, const Work& work) {
    for (std::size_t done = 0; done < count; done += kChunk)
        work(done, std::min(kChunk, count - done));
}

std::uint32_t fnJoin(unsigned int red, unsigned int green, unsigned int blue) {
    return red << 16 | green << 8 | blue;
}

/// Four bytes at once, the first one at the lowest address.
void fnPutBytes(std::uint8_t* out, unsigned int first, unsigned int second, unsigned int third,
                unsigned int fourth) {
    const std::uint32_t pixel = std::endian::native == std::endian::little
                                    ? first | second << 8 | third << 16 | fourth << 24
                                    : first << 24 | second << 16 | third << 8 | fourth;
    std::memcpy(out, &pixel, sizeof(pixel));
}

/// Bytes per pixel in an order other than PIXEL_STORED.
constexpr std::size_t fnColorBytes(PIXEL_ORDER order) {
    switch (order) {
    case PIXEL_RGB24:
    case PIXEL_BGR24:
        return 3;
    case PIXEL_GREY8:
        return 1;
    default:
        return 4;
    }
}

template <PIXEL_ORDER Order>
void fnPutColor(std::uint8_t* out, const PixelColor& color) {
    if constexpr (Order == PIXEL_ARGB32)
        fnPutBytes(out, color.m_nAlpha, color.m_nRed, color.m_nGreen, color.m_nBlue);
    else if constexpr (Order == PIXEL_BGRA32)
        fnPutBytes(out, color.m_nBlue, color.m_nGreen, color.m_nRed, color.m_nAlpha);
    else if constexpr (Order == PIXEL_BGRX32)
        fnPutBytes(out, color.m_nBlue, color.m_nGreen, color.m_nRed, 255);
    else if constexpr (Order == PIXEL_RGB24)
        pixels::fnPack24(out, color);
    else if constexpr (Order == PIXEL_BGR24)
        pixels::fnPack24(out, {color.m_nBlue, color.m_nGreen, color.m_nRed});
    else
        *out = fnGreyOf(color.m_nRed, color.m_nGreen, color.m_nBlue);
}

/// Pixel x of a row.
template <std::uint32_t Bits>
PixelColor fnGetColor(const RGBQUAD* palette, const std::uint8_t* row, std::size_t x) {
    constexpr const PixelFormat& format = fnPixelFormat(Bits);
    if constexpr (format.m_bIndexed) {
        const RGBQUAD& entry = palette[Bits == 4 ? fnGetNibble(row, x) : row[x]];
        return {entry.rgbRed, entry.rgbGreen, entry.rgbBlue};
    } else {
        return format.m_fnUnpack(row + x * format.m_nBytes);
    }
}

template <std::uint32_t Bits, PIXEL_ORDER Order>
void fnPickPixels(const RGBQUAD* palette, const std::uint8_t* row, std::uint32_t first,
                  const std::uint32_t* columns, std::size_t count, std::uint8_t* out) {
    if constexpr (Order == PIXEL_STORED) {
        constexpr std::size_t bytes = Bits < 8 ? 1 : Bits / 8;
        for (std::size_t i = 0; i < count; ++i, out += bytes) {
            const std::size_t x = columns[i] - first;
            if constexpr (Bits == 4)
                *out = fnGetNibble(row, x);
            else
                std::memcpy(out, row + x * bytes, bytes);
        }
    } else {
        for (std::size_t i = 0; i < count; ++i, out += fnColorBytes(Order))
            fnPutColor<Order>(out, fnGetColor<Bits>(palette, row, columns[i] - first));
    }
}

/// The loop for a depth and an order.
template <std::uint32_t Bits>
auto fnChoosePickOf(PIXEL_ORDER order) {
    switch (order) {
    case PIXEL_STORED:
        return fnPickPixels<Bits, PIXEL_STORED>;
    case PIXEL_ARGB32:
        return fnPickPixels<Bits, PIXEL_ARGB32>;
    case PIXEL_BGRA32:
        return fnPickPixels<Bits, PIXEL_BGRA32>;
    case PIXEL_RGB24:
        return fnPickPixels<Bits, PIXEL_RGB24>;
    case PIXEL_BGR24:
        return fnPickPixels<Bits, PIXEL_BGR24>;
    case PIXEL_GREY8:
        return fnPickPixels<Bits, PIXEL_GREY8>;
    default:
        return fnPickPixels<Bits, PIXEL_BGRX32>;
    }
}

auto fnChoosePick(std::uint32_t bits, PIXEL_ORDER order) {
    using Choose = decltype(&fnChoosePickOf<8>);
    static constexpr Choose kChoices[] = {fnChoosePickOf<4>, fnChoosePickOf<8>, fnChoosePickOf<16>,
                                          fnChoosePickOf<24>, fnChoosePickOf<32>};
    return kChoices[&fnPixelFormat(bits) - kPixelFormats](order);
}

} // namespace

std::size_t fnGetOrderBytes(std::uint32_t bits, PIXEL_ORDER order) {
    return order == PIXEL_STORED ? std::max<std::size_t>(fnPixelFormat(bits).m_nBytes, 1)
                                 : fnColorBytes(order);
}

PixelDecoder::PixelDecoder(std::uint32_t bits, const RGBQUAD* palette, PIXEL_ORDER order)
    : m_nBits(bits), m_eOrder(order), m_fnPick(fnChoosePick(bits, order)) {
    for (std::size_t i = 0; fnIsIndexed(bits) && i < kPaletteSlots; ++i) {
        m_Palette[i] = palette[i];
        m_Palette[i].rgbReserved = 255;
        m_Greys[i] = fnGreyOf(palette[i].rgbRed, palette[i].rgbGreen, palette[i].rgbBlue);
    }
}

void PixelDecoder::fnRunIndices(const std::uint8_t* in, std::uint8_t* out,
                                std::size_t count) const {
    const Kernels& kernels = fnKernels();
    const auto* palette = reinterpret_cast<const std::uint8_t*>(m_Palette);
    switch (m_eOrder) {
    case PIXEL_ARGB32:
        return kernels.fnIndex8ToArgb32(in, out, count, palette, kPaletteSlots);
    case PIXEL_RGB24:
        return kernels.fnIndex8ToRgb24(in, out, count, palette, kPaletteSlots);
    case PIXEL_BGR24:
        return kernels.fnIndex8ToBgr24(in, out, count, palette, kPaletteSlots);
    case PIXEL_GREY8:
        std::memcpy(out, in, count);
        return kernels.fnCurve8(out, count, m_Greys);
    default:
        return kernels.fnIndex8ToBgrx32(in, out, count, palette, kPaletteSlots);
    }
}

void PixelDecoder::fnRun(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const {
    const PixelFormat& format = fnPixelFormat(m_nBits);
    const Kernels& kernels = fnKernels();
    if (m_eOrder == PIXEL_STORED) {
        std::memcpy(out, in, count * std::max<std::size_t>(format.m_nBytes, 1));
        return;
    }
    if (format.m_bIndexed)
        return fnRunIndices(in, out, count);
    if (m_eOrder == PIXEL_GREY8) {
        std::uint8_t colors[3 * kChunk];
        fnForEachChunk(count, [&](std::size_t done, std::size_t part) {
            const std::uint8_t* from = in + done * format.m_nBytes;
            if (format.m_pToRgb24) {
                (kernels.*format.m_pToRgb24)(from, colors, part);
                from = colors;
            }
            for (std::size_t i = 0; i < part; ++i)
                out[done + i] = fnGreyOf(from[3 * i], from[3 * i + 1], from[3 * i + 2]);
        });
        return;
    }
    const bool reversed = m_eOrder == PIXEL_BGRA32 || m_eOrder == PIXEL_BGRX32;
    const auto run = m_eOrder == PIXEL_RGB24   ? format.m_pToRgb24
                     : m_eOrder == PIXEL_BGR24 ? format.m_pToBgr24
                     : reversed                ? format.m_pToBgrx32
                                               : format.m_pToArgb32;
    if (!run) {
        std::memcpy(out, in, count * format.m_nBytes);
        return;
    }
    if (!reversed || (m_eOrder == PIXEL_BGRA32 && format.m_bAlpha))
        return (kernels.*run)(in, out, count);
    fnForEachChunk(count, [&](std::size_t done, std::size_t part) {
        (kernels.*run)(in + done * format.m_nBytes, out + 4 * done, part);
        fnMakeOpaque(out + 4 * done, part, 3);
    });
}

PixelEncoder::PixelEncoder(std::uint32_t bits, const RGBQUAD* palette, std::size_t count,
                           PIXEL_ORDER order)
    : m_nBits(bits), m_eOrder(order) {
    if (fnIsIndexed(bits) && order != PIXEL_STORED)
        fnMakeTable(palette, std::min(count, kPaletteSlots));
}

std::size_t PixelEncoder::fnHash(std::uint32_t color) {
    return (color * 0x9E3779B1u) >> 22;
}

void PixelEncoder::fnMakeTable(const RGBQUAD* palette, std::size_t count) {
    std::fill_n(m_Colors, kSlots, kNoColor);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t color =
            fnJoin(palette[i].rgbRed, palette[i].rgbGreen, palette[i].rgbBlue);
        std::size_t slot = fnHash(color);
        while (m_Colors[slot] != kNoColor && m_Colors[slot] != color)
            slot = (slot + 1) % kSlots;
        if (m_Colors[slot] == color) // the first of equal entries wins
            continue;
        m_Colors[slot] = color;
        m_Indices[slot] = static_cast<std::uint8_t>(m_nBits == 4 ? i & 15 : i);
    }
}

std::uint8_t PixelEncoder::fnFindIndex(std::uint32_t color) const {
    for (std::size_t slot = fnHash(color); m_Colors[slot] != kNoColor; slot = (slot + 1) % kSlots)
        if (m_Colors[slot] == color)
            return m_Indices[slot];
    return 0;
}

void PixelEncoder::fnRunTo32(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const {
    const Kernels& kernels = fnKernels();
    switch (m_eOrder) {
    case PIXEL_ARGB32:
        std::memcpy(out, in, 4 * count);
        return;
    case PIXEL_RGB24:
        return kernels.fnRgb24ToArgb32(in, out, count);
    case PIXEL_BGR24: {
        std::uint8_t colors[3 * kChunk];
        return fnForEachChunk(count, [&](std::size_t done, std::size_t part) {
            kernels.fnRgb24ToBgr24(in + 3 * done, colors, part);
            kernels.fnRgb24ToArgb32(colors, out + 4 * done, part);
        });
    }
    case PIXEL_GREY8:
        for (std::size_t i = 0; i < count; ++i)
            fnPixelFormat(32).m_fnPack(out + 4 * i, {in[i], in[i], in[i]});
        return;
    default:
        kernels.fnArgb32ToBgra32(in, out, count);
        if (m_eOrder == PIXEL_BGRX32)
            fnMakeOpaque(out, count, 0);
    }
}

void PixelEncoder::fnRunToRgb24(const std::uint8_t* in, std::uint8_t* out,
                                std::size_t count) const {
    const Kernels& kernels = fnKernels();
    switch (m_eOrder) {
    case PIXEL_ARGB32:
        return kernels.fnArgb32ToRgb24(in, out, count);
    case PIXEL_RGB24:
        std::memcpy(out, in, 3 * count);
        return;
    case PIXEL_BGR24:
        return kernels.fnRgb24ToBgr24(in, out, count);
    case PIXEL_GREY8:
        for (std::size_t i = 0; i < count; ++i)
            out[3 * i] = out[3 * i + 1] = out[3 * i + 2] = in[i];
        return;
    default: {
        std::uint8_t reversed[4 * kChunk];
        fnForEachChunk(count, [&](std::size_t done, std::size_t part) {
            kernels.fnArgb32ToBgra32(in + 4 * done, reversed, part);
            kernels.fnArgb32ToRgb24(reversed, out + 3 * done, part);
        });
    }
    }
}

void PixelEncoder::fnRun(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const {
    const PixelFormat& format = fnPixelFormat(m_nBits);
    if (m_eOrder == PIXEL_STORED) {
        std::memcpy(out, in, count * std::max<std::size_t>(format.m_nBytes, 1));
        return;
    }
    if (format.m_bAlpha)
        return fnRunTo32(in, out, count);
    if (format.m_nBytes == 3)
        return fnRunToRgb24(in, out, count);
    const std::size_t bytes = fnGetOrderBytes(m_nBits, m_eOrder);
    std::uint8_t colors[3 * kChunk];
    fnForEachChunk(count, [&](std::size_t done, std::size_t part) {
        fnRunToRgb24(in + done * bytes, colors, part);
        const std::uint8_t* color = colors;
        if (!format.m_bIndexed) {
            for (std::size_t i = done; i < done + part; ++i, color += 3)
                format.m_fnPack(out + i * format.m_nBytes, {color[0], color[1], color[2]});
            return;
        }
        for (std::size_t i = done; i < done + part; ++i, color += 3)
            out[i] = fnFindIndex(fnJoin(color[0], color[1], color[2]));
    });
}

} // namespace q32
