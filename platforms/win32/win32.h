/// @file
/// The back end for Windows, so far without screen, windows, resources and sound.
#pragma once

#include "platforms/win32/CqWin32Options.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <span>
#include <string>

/// Memory, scratch files, files, language, messages and keyboard of this system. Screen, resources,
/// sound, mixers and windows are null; the caller has to set them. Throws std::bad_alloc.
Q32_API CqPlatform q32Win32Services(const CqWin32Options& options = {});

/// Deletes scratch files that are left in a directory: files named "~qd*.tmp" that nobody has open.
/// The system deletes those of a killed process by itself, but not those that were there when it
/// lost power. Files in use by any process stay.
/// @param directory  in the process's code page
/// @return  how many were deleted; 0 also for a directory that can't be read
Q32_API std::size_t q32Win32SweepScratchFiles(const char* directory);
/// The same for several directories, such as the scratch paths; empty names are skipped.
Q32_API std::size_t q32Win32SweepScratchFiles(std::span<const std::string> directories);
