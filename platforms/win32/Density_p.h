#pragma once

#include "q32Base/platform/Records.h"

namespace q32::win32 {

/// Dots per inch of the monitor that shows a window, for a process that knows of several; else, for
/// null and on systems that don't know of several, those of the screen as a whole.
int fnGetDensity(HWND window);

} // namespace q32::win32
