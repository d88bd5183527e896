#include "q32Base/display/DrawBuffers_p.h"
#include "q32Base/display/GammaPause_p.h"
#include "q32Base/display/PaletteSelection_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/platform/Checked_p.h"

#include <algorithm>
#include <cstring>

namespace {

/// Finds the key pixels of a run, which aren't drawn: those whose bytes equal the key's.
struct KeyScan {
    unsigned char m_Key[3] = {};
    std::size_t m_nKeyBytes = 0; ///< 0: no pixel is key
    std::size_t m_nStep = 0;     ///< bytes from one pixel to the next

    bool fnIsKey(const unsigned char* run, int pixel) const {
        return m_nKeyBytes != 0 && std::memcmp(run + static_cast<std::size_t>(pixel) * m_nStep,
                                               m_Key, m_nKeyBytes) == 0;
    }
};

/// Converts a key colour to the image's format: a palette index, the two bytes of 5-6-5, or the
/// three channels. False when the palette lacks the colour.
bool fnMakeColorKey(const CqTileMap& map, unsigned long key, KeyScan& scan) {
    const auto value = static_cast<std::uint32_t>(key);
    const CqColor color(static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                        static_cast<unsigned char>(value >> 16), 255);
    if (q32::fnIsIndexed(map.BitCount)) {
        const int index = map.fnFindColor(color.m_Red, color.m_Green, color.m_Blue);
        scan = {{static_cast<unsigned char>(index)}, 1, 1};
        return index >= 0;
    }
    if (map.BitCount == 16) {
        scan = {{}, 2, 2};
        q32::fnPixelFormat(map.BitCount).m_fnPack(scan.m_Key, q32::fnPixelColor(color));
    } else { // in steps of three bytes, at 32 bits too, deliberately
        scan = {{color.m_Red, color.m_Green, color.m_Blue}, 3, 3};
    }
    return true;
}

/// The key of a draw. False when there is none.
bool fnMakeKey(const CqTileMap& map, const CqMergeParam& param, KeyScan& scan) {
    if (param.m_eType == MERGE_KEY)
        return fnMakeColorKey(map, param.m_nKey, scan);
    if (param.m_eType == MERGE_MASK) {
        scan = {{0}, 1, 1};
        return param.m_pMask && param.m_pMask->TileMap;
    }
    scan = {{0}, q32::fnPixelFormat(map.BitCount).m_bAlpha ? std::size_t{1} : std::size_t{0}, 4};
    return true;
}

/// What is drawn: a part of the image from (x, y) on, and its destination.
struct KeyPart {
    CPoint m_Place; ///< where (x, y) lands
    int m_nX;
    int m_nY;
    int m_nWidth;
    int m_nHeight;
};

/// Draws the pixels of one row that aren't key. `keys` holds the bytes to be scanned, for `count`
/// pixels.
bool fnDrawRow(CDC* dc, CqImageLine& line, const unsigned char* keys, int count,
               const KeyScan& scan, const KeyPart& part) {
    const int y = q32::fnWrapAdd(part.m_Place.y, line.Row - part.m_nY);
    for (int pixel = 0; pixel < count;) {
        while (pixel < count && scan.fnIsKey(keys, pixel))
            ++pixel;
        const int start = pixel;
        while (pixel < count && !scan.fnIsKey(keys, pixel))
            ++pixel;
        if (pixel > start && !line.fnDraw(dc, q32::fnWrapAdd(part.m_Place.x, start), y,
                                          pixel - start, part.m_nX + start, false))
            return false;
    }
    return true;
}

/// Draws row by row. Pixels outside the mask count as key.
bool fnDrawKeyRows(CqImage& image, CDC* dc, const CqMergeParam& param, const KeyScan& scan,
                   const KeyPart& part) {
    CqImage* mask = param.m_eType == MERGE_MASK ? param.m_pMask : nullptr;
    CqImageLine line;
    CqImageLine maskLine;
    const auto first = static_cast<std::size_t>(part.m_nX);
    for (int i = 0; i < part.m_nHeight; ++i) {
        const auto row = static_cast<std::uint32_t>(part.m_nY + i);
        const unsigned char* keys = nullptr;
        int count = part.m_nWidth;
        image.fnAccessLine(row, &line, true);
        if (!mask) {
            keys = line.LineBuffer + first * image.BytesPerPixel;
        } else if (row < mask->Height && first < mask->RowBytes) {
            mask->fnAccessLine(row, &maskLine, true);
            keys = maskLine.LineBuffer + first;
            count = static_cast<int>(
                std::min<std::size_t>(static_cast<std::size_t>(count), mask->RowBytes - first));
        }
        if (keys && !fnDrawRow(dc, line, keys, count, scan, part))
            return false;
    }
    return true;
}

} // namespace

bool CqImage::fnKeyDraw(CDC* dc, const CRect& destination, int x, int y, const CqMergeParam& param,
                        bool noGamma, bool background) {
    q32::fnRequirePixels("CqImage::fnKeyDraw", TileMap);
    if (destination.Width() < 1 || destination.Height() < 1 ||
        !q32::fnEnsureDrawBuffers(*TileMap) || !q32::fnSelectDrawPalette(*TileMap, dc, background))
        return false;
    x = std::max(x, 0);
    y = std::max(y, 0);
    const KeyPart part{
        destination.TopLeft(), x, y,
        std::min(destination.Width(), q32::fnWrapSub(static_cast<LONG>(Width), x)),
        std::min(destination.Height(), q32::fnWrapSub(static_cast<LONG>(Height), y))};
    bool drawn = false;
    {
        const q32::GammaPause pause(*q32GetDisplayProperty(), noGamma);
        drawn = q32::fnTryMemory([&] {
            KeyScan scan;
            // A 4-bit image isn't scanned, deliberately: nothing of it is drawn.
            return fnMakeKey(*TileMap, param, scan) &&
                   (BitCount == 4 || fnDrawKeyRows(*this, dc, param, scan, part));
        });
    }
    q32::fnRestorePalette(*TileMap, dc);
    return drawn;
}
