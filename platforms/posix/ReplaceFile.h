/// @file
/// How a new file takes an old one's place. All paths are native; failures leave errno.
#pragma once

#include "platforms/posix/Descriptor.h"
#include "q32Base/platform/CqFileService.h"

#include <string>
#include <sys/stat.h>

namespace q32::posix {

/// Where a path leads when links at its end are followed, also to a file that is not there yet.
bool fnFollow(std::string& path);

/// Gives a file the mode of another one, and its owner as far as the caller may give files away.
bool fnKeepFacts(const Descriptor& file, const struct stat& old);

/// Renames a file over another one, and writes the directory out. Both lie in the same one.
bool fnRename(const std::string& from, const std::string& to);

/// Writes a closed file out to the disk and puts it in the place of `to`, with the mode and owner
/// of the file there. A link is followed: what it leads to is replaced, which fails on another file
/// system. A file that is held or that the caller may not write is refused.
CQ_FILE_CAUSE fnReplaceFile(const std::string& from, const std::string& to);

} // namespace q32::posix
