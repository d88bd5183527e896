#include "tests/display/DrawReference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

namespace {

constexpr int kThresholds[8][8] = {
    {0, 38, 9, 47, 2, 40, 11, 50},  {25, 12, 35, 22, 27, 15, 37, 24},
    {6, 44, 3, 41, 8, 47, 5, 43},   {31, 19, 28, 15, 34, 21, 31, 18},
    {1, 39, 11, 49, 0, 39, 10, 48}, {27, 14, 36, 23, 26, 13, 35, 23},
    {7, 46, 4, 43, 7, 45, 3, 42},   {33, 20, 30, 17, 32, 19, 29, 16}};
constexpr int kHiColor[4][4] = {{0, 12, 3, 15}, {8, 4, 11, 7}, {2, 14, 1, 13}, {10, 6, 9, 5}};

int fnLevel(int component, int threshold) {
    const int level = component / 51 + (component % 51 >= threshold ? 1 : 0);
    return level == 6 ? 0 : level;
}

std::uint8_t fnIndex666(int red, int green, int blue, int x, int y) {
    const int t = kThresholds[y & 7][x & 7];
    return static_cast<std::uint8_t>(36 * fnLevel(red, t) + 6 * fnLevel(green, t) +
                                     fnLevel(blue, t));
}

/// Red, green, blue and the fourth device byte.
std::array<std::uint8_t, 4> fnColor(CqImage& image, const std::array<std::uint8_t, 4>& pixel) {
    if (image.BitCount <= 8) {
        RGBQUAD entry{};
        image.fnGetPaletteEntry(pixel[0], 1, &entry);
        return {entry.rgbRed, entry.rgbGreen, entry.rgbBlue, entry.rgbReserved};
    }
    if (image.BitCount == 16) {
        const int value = pixel[0] * 256 + pixel[1];
        return {static_cast<std::uint8_t>(value / 2048 * 8),
                static_cast<std::uint8_t>(value / 32 % 64 * 4),
                static_cast<std::uint8_t>(value % 32 * 8), 0};
    }
    if (image.BitCount == 24)
        return {pixel[0], pixel[1], pixel[2], 0};
    return {pixel[1], pixel[2], pixel[3], pixel[0]};
}

std::uint8_t fnGamma(std::uint8_t value, unsigned gamma) {
    static unsigned known = 180; // caches the last curve, as each point takes a power
    static std::array<std::uint8_t, 256> curve;
    if (gamma == 180)
        return value;
    if (known != gamma)
        for (std::size_t i = 0; i < curve.size(); ++i)
            curve[i] = static_cast<std::uint8_t>(
                std::pow(static_cast<double>(i) * 0.00392156862745098, 180.0 / gamma) * 255.0);
    known = gamma;
    return curve[value];
}

std::uint8_t fnRoundTo5Bits(std::uint8_t value, int x, int y) {
    if ((value & 7) <= kHiColor[y & 3][x & 3])
        return value & 0xF8;
    return static_cast<std::uint8_t>(std::min((value & 0xF8) + 8, 255));
}

int fnScaled(int length, const CqReferenceSetup& setup) {
    if (setup.m_eMode == REFERENCE_MODE::SHRINK)
        return length / setup.m_nFactor;
    if (setup.m_eMode == REFERENCE_MODE::INFLATE)
        return length * setup.m_nFactor;
    return setup.m_nFitZoom > 1.0 ? static_cast<int>(length * setup.m_nFitZoom) : length;
}

CRect fnTileRect(const CqImage& image, std::uint32_t index) {
    if (image.BitCount == 4)
        return CRect(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height));
    const int across = static_cast<int>((image.Width + 127) / 128);
    const int left = static_cast<int>(index) % across * 128;
    const int top = static_cast<int>(index) / across * 128;
    return CRect(left, top, std::min(left + 128, static_cast<int>(image.Width)),
                 std::min(top + 128, static_cast<int>(image.Height)));
}

CRect fnScaledRect(const CqImage& image, std::uint32_t index, const CqReferenceSetup& setup) {
    const CRect rect = fnTileRect(image, index);
    return CRect(fnScaled(rect.left, setup), fnScaled(rect.top, setup), fnScaled(rect.right, setup),
                 fnScaled(rect.bottom, setup));
}

/// The source pixel of a position in the scaled image, within the tile that holds it.
std::array<std::uint8_t, 4> fnSample(CqImage& image, const CqReferenceSetup& setup,
                                     const CRect& tile, int x, int y) {
    switch (setup.m_eMode) {
    case REFERENCE_MODE::FIT: // stages nothing; an image not drawn before shows zeros
        return {};
    case REFERENCE_MODE::SHRINK:
        return fnReferencePixel(image, std::max(x * setup.m_nFactor, static_cast<int>(tile.left)),
                                std::max(y * setup.m_nFactor, static_cast<int>(tile.top)));
    default:
        return fnReferencePixel(image, x / setup.m_nFactor, y / setup.m_nFactor);
    }
}

int fnDeviceBits(int screenBits) {
    return screenBits == 16 ? 24 : screenBits;
}

} // namespace

std::array<std::uint8_t, 4> fnReferencePixel(CqImage& image, int x, int y) {
    CqImageTile tile;
    std::array<std::uint8_t, 4> pixel{};
    if (image.BitCount == 4) {
        image.fnAccessTile(0u, &tile);
        const int byte = tile.Pixels[y * static_cast<int>((image.Width + 1) / 2) + x / 2];
        pixel[0] = static_cast<std::uint8_t>(x % 2 == 0 ? byte / 16 : byte % 16);
        return pixel;
    }
    const unsigned across = (image.Width + 127) / 128;
    image.fnAccessTile(static_cast<unsigned>(y) / 128 * across + static_cast<unsigned>(x) / 128,
                       &tile);
    const int bytes = static_cast<int>(image.BitCount / 8);
    const int width =
        static_cast<int>(std::min(128u, image.Width - static_cast<unsigned>(x) / 128 * 128));
    std::memcpy(pixel.data(), tile.Pixels + (y % 128 * width + x % 128) * bytes,
                static_cast<std::size_t>(bytes));
    return pixel;
}

CqDevicePixel fnReferenceDevicePixel(CqImage& image, const std::array<std::uint8_t, 4>& pixel,
                                     const CqReferenceSetup& setup, int x, int y) {
    if (setup.m_nScreenBits == 8 && image.BitCount <= 8)
        return {{pixel[0]}, 1};
    const auto color = fnColor(image, pixel);
    if (setup.m_nScreenBits == 8)
        return {{fnIndex666(color[0], color[1], color[2], x, y)}, 1};
    CqDevicePixel device;
    for (const std::size_t k : {std::size_t{2}, std::size_t{1}, std::size_t{0}}) {
        std::uint8_t value = fnGamma(color[k], setup.m_nGamma);
        if (setup.m_nScreenBits == 16 && setup.m_bHiColorDither)
            value = fnRoundTo5Bits(value, x, y);
        device.m_Bytes[device.m_nCount++] = value;
    }
    if (setup.m_nScreenBits == 32)
        device.m_Bytes[device.m_nCount++] = color[3];
    return device;
}

std::vector<CqExpectedDraw> fnReferenceTile(CqImage& image, const CqReferenceSetup& setup,
                                            std::uint32_t index, const CRect& rect, int x, int y) {
    const CRect tile = fnTileRect(image, index);
    const CRect scaled = fnScaledRect(image, index, setup);
    int left = rect.left;
    int width = std::min(rect.Width(), scaled.right - x);
    const int height = std::min(rect.Height(), scaled.bottom - y);
    std::vector<CqExpectedDraw> draws;
    if (width < 1 || height < 1)
        return draws;
    if (image.BitCount == 4) { // pairs aren't split
        const bool shrinks = setup.m_eMode == REFERENCE_MODE::SHRINK;
        const double zoom =
            setup.m_eMode == REFERENCE_MODE::FIT ? setup.m_nFitZoom : setup.m_nFactor;
        const int source = shrinks ? x * setup.m_nFactor : static_cast<int>(x / zoom);
        if (source % 2 != 0) {
            const int back = shrinks ? 1 : std::max(1, static_cast<int>(zoom));
            left -= back;
            width += back;
            x -= back;
        }
    }
    const int bits = fnDeviceBits(setup.m_nScreenBits);
    const int stride = (bits * width / 8 + 3) / 4 * 4;
    int band = height;
    if (setup.m_eMode == REFERENCE_MODE::INFLATE && setup.m_nFactor >= 2) {
        const int full = image.BitCount == 4 ? static_cast<int>(image.Width)
                                             : std::min(128, static_cast<int>(image.Width));
        const int rows = image.BitCount == 4 ? static_cast<int>(image.Height)
                                             : std::min(128, static_cast<int>(image.Height));
        band = std::clamp(rows * ((bits * full / 8 + 3) / 4 * 4) / stride, 1, height);
    }
    for (int first = 0; first < height; first += band) {
        CqExpectedDraw draw{left, rect.top + first, width, std::min(band, height - first), {}};
        draw.m_Rows.assign(static_cast<std::size_t>(stride * draw.m_nHeight), 0);
        for (int row = 0; row < draw.m_nHeight; ++row) {
            std::uint8_t* out = draw.m_Rows.data() + stride * (draw.m_nHeight - 1 - row);
            for (int column = 0; column < width; ++column) {
                const int px = x + column;
                const int py = y + first + row;
                const CqDevicePixel device = fnReferenceDevicePixel(
                    image, fnSample(image, setup, tile, px, py), setup, px, py);
                out = std::copy_n(device.m_Bytes.data(), device.m_nCount, out);
            }
        }
        draws.push_back(std::move(draw));
    }
    return draws;
}

std::vector<CqExpectedDraw> fnReferenceDraw(CqImage& image, const CqReferenceSetup& setup,
                                            const CRect& destination, int x, int y) {
    const int scaledWidth = fnScaled(static_cast<int>(image.Width), setup);
    const int scaledHeight = fnScaled(static_cast<int>(image.Height), setup);
    const int width = std::min(static_cast<int>(destination.Width()), scaledWidth);
    const int height = std::min(static_cast<int>(destination.Height()), scaledHeight);
    x = std::min(std::max(x, 0), scaledWidth - width);
    y = std::min(std::max(y, 0), scaledHeight - height);
    std::vector<CqExpectedDraw> draws;
    for (std::uint32_t i = 0; i < image.TileCount; ++i) {
        const CRect scaled = fnScaledRect(image, i, setup);
        CRect piece;
        if (!piece.IntersectRect(scaled, CRect(x, y, x + width, y + height)))
            continue;
        const CRect rect(CPoint(destination.left + piece.left - x, destination.top + piece.top - y),
                         piece.Size());
        for (CqExpectedDraw& draw : fnReferenceTile(image, setup, i, rect, piece.left, piece.top))
            draws.push_back(std::move(draw));
    }
    return draws;
}

std::string fnFindDifference(const std::vector<CqExpectedDraw>& expected,
                             const std::vector<CqHeadlessDraw>& draws, int screenBits) {
    std::ostringstream text;
    if (expected.size() != draws.size())
        text << draws.size() << " blocks instead of " << expected.size();
    for (std::size_t i = 0; i < expected.size() && text.tellp() == 0; ++i) {
        const CqExpectedDraw& want = expected[i];
        const CqHeadlessDraw& have = draws[i];
        const CRect wantRect(CPoint(want.m_nX, want.m_nY), CSize(want.m_nWidth, want.m_nHeight));
        const CRect haveRect(
            CPoint(have.m_nX, have.m_nY),
            CSize(static_cast<LONG>(have.m_nWidth), static_cast<LONG>(have.m_nHeight)));
        BITMAPINFOHEADER header{};
        header.biSize = 40;
        header.biWidth = want.m_nWidth;
        header.biHeight = want.m_nHeight;
        header.biPlanes = 1;
        header.biBitCount = static_cast<WORD>(fnDeviceBits(screenBits));
        if (!(wantRect == haveRect))
            text << "block " << i << " at (" << have.m_nX << ", " << have.m_nY << ") "
                 << have.m_nWidth << " x " << have.m_nHeight << " instead of (" << want.m_nX << ", "
                 << want.m_nY << ") " << want.m_nWidth << " x " << want.m_nHeight;
        else if (!have.m_Header || std::memcmp(&*have.m_Header, &header, sizeof(header)) != 0)
            text << "block " << i << " has another header";
        else if (have.m_nSourceX != 0 || have.m_nSourceY != 0 || have.m_nStartScan != 0 ||
                 have.m_nScans != have.m_nHeight || have.m_nUse != (screenBits == 8 ? 1u : 0u))
            text << "block " << i << " has other arguments";
        else if (have.m_Rows != want.m_Rows) {
            const auto at = std::mismatch(have.m_Rows.begin(), have.m_Rows.end(),
                                          want.m_Rows.begin(), want.m_Rows.end());
            text << "block " << i << " differs at byte " << at.first - have.m_Rows.begin() << " of "
                 << have.m_Rows.size();
        }
    }
    return text.str();
}
