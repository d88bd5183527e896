/// @file
/// Software implementations for a system without its own: regions, palettes, resources, and
/// stand-ins for absent devices.
#pragma once

#include "platforms/software/CqSoftwareRegion.h"
#include "platforms/software/CqSoftwareResources.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

/// Services of a system without devices. Memory, scratch files, files and language are null; the
/// caller has to set them. Throws std::bad_alloc.
///
/// - The screen has 1024 x 768 pixels of 32 bits at 96 dots per inch, and shows nothing: rows drawn
///   on it count as drawn, and its device contexts don't paint. Its regions are `CqSoftwareRegion`.
/// - Message boxes aren't shown; the answer is their first button. There are no system errors.
/// - No key is ever down, no device plays, and there is no mixer, application or window.
/// - Resources are a `CqSoftwareResources` with that code page.
Q32_API CqPlatform q32SoftwareServices(UINT codePage = 1252);
