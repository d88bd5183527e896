#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <memory>
#include <vector>

class CDC;
class CPalette;
class CWnd;

/// A palette as the screen holds it: up to 65,535 entries. Kept by a CPalette.
class Q32_API CqPaletteObject {
public:
    explicit CqPaletteObject(std::vector<PALETTEENTRY> entries) : m_Entries(std::move(entries)) {}
    virtual ~CqPaletteObject() = default;

    const std::vector<PALETTEENTRY>& fnGetEntries() const { return m_Entries; }

    /// Replaces entries from `first` on; what would pass the end is dropped. Returns the entries
    /// replaced.
    virtual UINT fnSetEntries(UINT first, UINT count, const PALETTEENTRY* entries);

private:
    std::vector<PALETTEENTRY> m_Entries;
};

/// A set of pixels as the screen holds it. Kept by a CRgn.
class Q32_API CqRegionObject {
public:
    virtual ~CqRegionObject() = default;

    /// This region becomes `a` combined with `b` by an RGN_ mode; both may be this one, and
    /// RGN_COPY takes `a` alone. False on failure and for any other mode, with this region
    /// unchanged.
    virtual bool fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) = 0;
    /// The region as rectangles that don't overlap, in rows from the top, left to right in a row.
    virtual std::vector<RECT> fnGetRects() const = 0;
};

/// A font as the screen holds it. Kept by a CFont.
class Q32_API CqFontObject {
public:
    virtual ~CqFontObject() = default;
};

/// Pixels of the screen's kind that aren't shown. Kept by a CBitmap.
class Q32_API CqBitmapObject {
public:
    virtual ~CqBitmapObject() = default;
};

/// The screen: device contexts, finished rows, palettes and regions, fonts and bitmaps.
/// Called on the host's thread. May throw std::bad_alloc; all else is told by the result. What
/// gives something back never throws.
class Q32_API CqScreenService {
public:
    virtual ~CqScreenService() = default;

    /// A device context of a window's client area, or of the whole screen for null. Null on
    /// failure, and for a window that has ended. It belongs to the service and goes back with
    /// `fnReleaseDC`, also when the window ends meanwhile. Several may be open for one window.
    virtual CDC* fnGetDC(CWnd* window) = 0;
    virtual void fnReleaseDC(CWnd* window, CDC* dc) noexcept = 0;

    /// Puts rows of a bitmap on a device. Scans count from 0, the lowest row of the bitmap for a
    /// positive height and the top row for a negative one. Column `sourceX` lands at `x`. Scan
    /// `sourceY` lands in the lowest row of the rectangle at (`x`, `y`) for a positive height, and
    /// in its top row for a negative one. What lies outside the rectangle, the bitmap, the client
    /// area or the screen isn't drawn, whatever the numbers.
    /// @param header  a BITMAPINFOHEADER of 40 bytes for 1, 4, 8, 16 (5-5-5), 24 or 32 bits without
    ///                compression, with its colour table behind it. A colour that the table lacks
    ///                is black.
    /// @param bits    the rows from `startScan` on, each padded to four bytes
    /// @param use     DIB_RGB_COLORS, or DIB_PAL_COLORS: the table holds 16-bit indices into the
    ///                palette that the device context has selected. An index beyond it is black.
    /// @return the scans taken: `scans`, or those that the bitmap has from `startScan` on if they
    ///         are fewer, drawn or not; 0 for a null `dc`; -1, with nothing drawn, for null bits
    ///         and for any other header, use or failure
    virtual int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                                    int sourceY, UINT startScan, UINT scans, const void* bits,
                                    const BITMAPINFOHEADER* header, UINT use) = 0;

    /// Null on failure, without entries and for a version other than 0x300.
    virtual std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) = 0;
    /// Told when a palette ends or is deleted. A device context that still has it selected has none
    /// from then on.
    virtual void fnPaletteGone(const CPalette& palette) noexcept = 0;
    /// Null on failure. An empty or turned rectangle gives an empty region.
    virtual std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) = 0;

    // What painting needs. A screen whose device contexts don't paint keeps these: they fail.

    /// The font that the user has chosen for titles of icons. False, and `font` stays, on failure.
    virtual bool fnGetIconTitleFont(LOGFONTA& font);
    /// The font that comes nearest. Null on failure.
    virtual std::unique_ptr<CqFontObject> fnCreateFont(const LOGFONTA& font);
    /// A bitmap for the device of `dc`, its pixels all black. Null on failure, without a `dc` and
    /// for a width or height below 1.
    virtual std::unique_ptr<CqBitmapObject> fnCreateCompatibleBitmap(CDC* dc, int width,
                                                                     int height);
};
