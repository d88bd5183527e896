/// @file
/// The back end for POSIX systems: memory, files and language of the real system.
#pragma once

#include "platforms/posix/CqPosixOptions.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <span>
#include <string>

/// A complete platform: memory, scratch files, files, language and errors of this system, and all
/// else as the options say. Throws std::bad_alloc.
Q32_API CqPlatform q32PosixPlatform(const CqPosixOptions& options = {});

/// Deletes the scratch files that a killed process left in a directory: regular files of the
/// caller's own, named "~qd*.tmp", that nobody holds. Files in use, here or elsewhere, stay.
/// @return  how many were deleted; 0 also for a directory that can't be read
Q32_API std::size_t q32PosixSweepScratchFiles(const char* directory);
/// The same for several directories, such as the scratch paths; empty ones are passed over.
Q32_API std::size_t q32PosixSweepScratchFiles(std::span<const std::string> directories);
