/// @file
/// Rows of a device-independent bitmap on a device context of the system.
#pragma once

#include "platforms/software/DibRows_p.h"
#include "platforms/win32/CqWin32Palette_p.h"
#include "q32Base/platform/Records.h"

namespace q32::win32 {

/// Draws a job by the rules of `CqScreenService::fnSetDIBitsToDevice`. The system receives only the
/// part that the device context shows, as a bitmap of its own, so that its rules for parts of
/// bitmaps don't matter, and neither does the size of numbers.
/// @param palette  the one selected; null for none
/// @return the number of scans processed; -1 on failure
int fnPutRows(HDC dc, const software::RowJob& job, const CqWin32Palette* palette);

} // namespace q32::win32
