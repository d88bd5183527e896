/// @file
/// Conversion of bitmap rows to a canvas.
#pragma once

#include "platforms/software/DibRows_p.h"
#include "q32Base/platform/CqScreenService.h"

#include <QImage>
#include <QRect>

namespace q32::qt {

/// Writes the rows directly into a canvas of Format_RGB32. Pixels outside the canvas are clipped;
/// their scans still count as taken. A missing table entry, or one that names a missing palette
/// entry, is black.
/// @param palette  the one selected into the device context; may be null
/// @param changed  receives the part of the canvas that was written
/// @return the scans taken; -1 for a bitmap other than 1, 4, 8, 16, 24 or 32 bits without
///         compression
int fnPutCanvasRows(const software::RowJob& job, const CqPaletteObject* palette, QImage& canvas,
                    QRect& changed);

} // namespace q32::qt
