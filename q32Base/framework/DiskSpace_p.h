/// @file
/// Disk space of a volume, for the memory policy and CqPowerStr.
#pragma once

#include "q32Base/platform/CqFileService.h"

namespace q32 {

/// Space of the volume that holds `path`, by the 64-bit query if the platform has one, otherwise by
/// the cluster query, whose products wrap at 32 bits. Raises the memory exception.
/// @param fallBack  whether to try the cluster query if the 64-bit one fails
/// @return false, with `space` unchanged, if the last query tried has failed
bool fnGetDiskSpace(const char* path, bool fallBack, CqDiskSpace& space);

} // namespace q32
