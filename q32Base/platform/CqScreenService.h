#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <memory>
#include <vector>

class CDC;
class CPalette;
class CWnd;

/// The screen's palette object: up to 65,535 entries. Owned by a CPalette.
class Q32_API CqPaletteObject {
public:
    /// Takes the entries over.
    explicit CqPaletteObject(std::vector<PALETTEENTRY> entries) : m_Entries(std::move(entries)) {}
    virtual ~CqPaletteObject() = default;

    /// The entries; the number never changes.
    const std::vector<PALETTEENTRY>& fnGetEntries() const { return m_Entries; }

    /// Replaces entries from `first` on; those past the end are dropped. Returns the number
    /// replaced.
    virtual UINT fnSetEntries(UINT first, UINT count, const PALETTEENTRY* entries);

private:
    std::vector<PALETTEENTRY> m_Entries;
};

/// The screen's region object: a set of pixels. Owned by a CRgn.
class Q32_API CqRegionObject {
public:
    virtual ~CqRegionObject() = default;

    /// Sets this region to `a` combined with `b` by an RGN_ mode; either may be this region, and
    /// RGN_COPY uses `a` alone. False on failure and for any other mode, with this region
    /// unchanged.
    virtual bool fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) = 0;
    /// The region as rectangles that don't overlap, in rows from the top, left to right in a row.
    virtual std::vector<RECT> fnGetRects() const = 0;
};

/// The screen's font object. Owned by a CFont.
class Q32_API CqFontObject {
public:
    virtual ~CqFontObject() = default;
};

/// An off-screen bitmap in the screen's format. Owned by a CBitmap.
class Q32_API CqBitmapObject {
public:
    virtual ~CqBitmapObject() = default;
};

/// The screen: device contexts, output of rows, palettes, regions, fonts and bitmaps. Called on the
/// host's thread. May throw std::bad_alloc, except for functions that release something; every
/// other failure is reported by the result.
class Q32_API CqScreenService {
public:
    virtual ~CqScreenService() = default;

    /// A device context of a window's client area, or of the whole screen for null. Null on
    /// failure, and for a destroyed window. Owned by the service; release it by `fnReleaseDC`, even
    /// if the window is destroyed meanwhile. Several may be open for one window.
    virtual CDC* fnGetDC(CWnd* window) = 0;
    /// Releases a device context that `fnGetDC` returned for the same window.
    virtual void fnReleaseDC(CWnd* window, CDC* dc) noexcept = 0;

    /// Draws rows of a bitmap on a device. Scans count from 0, the lowest row of the bitmap for a
    /// positive height and the top row for a negative one. Column `sourceX` lands at `x`. Scan
    /// `sourceY` lands in the lowest row of the rectangle at (`x`, `y`) for a positive height, and
    /// in its top row for a negative one. Pixels outside the rectangle, the bitmap, the client area
    /// or the screen are clipped, whatever the arguments.
    /// @param header  a BITMAPINFOHEADER of 40 bytes for 1, 4, 8, 16 (5-5-5), 24 or 32 bits without
    ///                compression, followed by its colour table. A colour missing from the table is
    ///                black.
    /// @param bits    the rows from `startScan` on, each padded to four bytes
    /// @param use     DIB_RGB_COLORS, or DIB_PAL_COLORS: the table holds 16-bit indices into the
    ///                palette that the device context has selected. An index beyond it is black.
    /// @return the number of scans processed: `scans`, or those of the bitmap from `startScan` on
    ///         if they are fewer, drawn or not; 0 for a null `dc`; -1, with nothing drawn, for null
    ///         bits and for any other header, use or failure
    virtual int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                                    int sourceY, UINT startScan, UINT scans, const void* bits,
                                    const BITMAPINFOHEADER* header, UINT use) = 0;

    /// Creates a palette. Null on failure, without entries and for a version other than 0x300.
    virtual std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) = 0;
    /// Called when a palette is deleted. A device context that still has it selected has none
    /// afterwards.
    virtual void fnPaletteGone(const CPalette& palette) noexcept = 0;
    /// Creates a rectangular region. Null on failure. An empty or inverted rectangle gives an empty
    /// region.
    virtual std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) = 0;

    // Needed for painting. A screen whose device contexts don't paint keeps these defaults, which
    // fail.

    /// The font configured for icon titles. False, with `font` unchanged, on failure.
    virtual bool fnGetIconTitleFont(LOGFONTA& font);
    /// Creates the font that best matches `font`. Null on failure.
    virtual std::unique_ptr<CqFontObject> fnCreateFont(const LOGFONTA& font);
    /// Creates a bitmap for the device of `dc`, all black, of `width` x `height` pixels. Null on
    /// failure, for a null `dc` and for a width or height below 1.
    virtual std::unique_ptr<CqBitmapObject> fnCreateCompatibleBitmap(CDC* dc, int width,
                                                                     int height);
};
