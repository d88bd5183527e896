#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <vector>

namespace q32::software {

/// The entries of a logical palette; none for a version other than 0x300.
Q32_API std::vector<PALETTEENTRY> fnReadPaletteEntries(const LOGPALETTE& palette);

} // namespace q32::software
