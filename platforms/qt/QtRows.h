/// @file
/// Finished rows of a bitmap on their way to a canvas.
#pragma once

#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/Records.h"

#include <QImage>
#include <QRect>

namespace q32::qt {

/// Rows as they are given to `CqScreenService::fnSetDIBitsToDevice`.
struct RowJob {
    int m_nX;
    int m_nY;
    UINT m_nWidth;
    UINT m_nHeight;
    int m_nSourceX;
    int m_nSourceY;
    UINT m_nStartScan;
    UINT m_nScans;
    const void* m_pBits;
    const BITMAPINFOHEADER* m_pHeader;
    UINT m_nUse;
};

/// Writes the rows once, straight into a canvas of Format_RGB32. What lies outside of it isn't
/// drawn, and counts as taken. A table entry that is missing, or names a palette entry that is, is
/// black.
/// @param palette  what the device context has selected; may be null
/// @param changed  becomes the part of the canvas that was written
/// @return the scans taken; -1 for a bitmap of another kind than 1, 4, 8, 16, 24 or 32 bits without
///         compression
int fnPutRows(const RowJob& job, const CqPaletteObject* palette, QImage& canvas, QRect& changed);

} // namespace q32::qt
