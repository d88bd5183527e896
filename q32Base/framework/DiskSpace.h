/// @file
/// How much room a volume has, as the memory policy and CqPowerStr ask for it.
#pragma once

#include "q32Base/platform/CqFileService.h"

namespace q32 {

/// Space of the volume that holds `path`, by the wide query where the platform has one, otherwise
/// by the old one, which multiplies in 32 bits that wrap. Raises the memory exception.
/// @param fallBack  whether the old query is asked as well when the wide one has failed
/// @return false, with `space` as it was, when the query that was asked last has failed
bool fnGetDiskSpace(const char* path, bool fallBack, CqDiskSpace& space);

} // namespace q32
