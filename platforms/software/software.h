/// @file
/// What a system that has none of its own gets from software: regions, palettes, resources, and
/// services that stand for devices which aren't there.
#pragma once

#include "platforms/software/CqSoftwareRegion.h"
#include "platforms/software/CqSoftwareResources.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

/// Services of a system without devices. Memory, scratch files, files and language are left null;
/// the system has to bring them. Throws std::bad_alloc.
///
/// - The screen is one of 1024 x 768 pixels of 32 bits at 96 dots per inch, which nobody sees:
///   rows that are drawn on it count as drawn, and its device contexts don't paint. Its regions are
///   `CqSoftwareRegion`.
/// - Message boxes aren't shown; their first button answers. There are no errors.
/// - No key is ever down, no device plays, and there is no mixer, application or window.
/// - Resources are a `CqSoftwareResources` in that code page.
Q32_API CqPlatform q32SoftwareServices(UINT codePage = 1252);
