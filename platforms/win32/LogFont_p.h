#pragma once

#include "platforms/win32/CodePage_p.h"
#include "q32Base/platform/Records.h"

namespace q32::win32 {

/// A requested font, with its name in the code page or in UTF-16. A name that doesn't fit is left
/// out: a truncated one would be another font's.
LOGFONTW fnToWideFont(const CodePage& codePage, const LOGFONTA& font);
LOGFONTA fnFromWideFont(const CodePage& codePage, const LOGFONTW& font);

} // namespace q32::win32
