/// @file
/// Finished rows of a bitmap on their way to a canvas.
#pragma once

#include "platforms/software/DibRows.h"
#include "q32Base/platform/CqScreenService.h"

#include <QImage>
#include <QRect>

namespace q32::qt {

/// Writes the rows once, straight into a canvas of Format_RGB32. What lies outside of it isn't
/// drawn, and counts as taken. A table entry that is missing, or names a palette entry that is, is
/// black.
/// @param palette  what the device context has selected; may be null
/// @param changed  becomes the part of the canvas that was written
/// @return the scans taken; -1 for a bitmap of another kind than 1, 4, 8, 16, 24 or 32 bits without
///         compression
int fnPutRows(const software::RowJob& job, const CqPaletteObject* palette, QImage& canvas,
              QRect& changed);

} // namespace q32::qt
