/// @file
/// Replacement of an old file by a new one. All paths are native; failures leave errno.
#pragma once

#include "platforms/posix/Descriptor_p.h"
#include "q32Base/platform/CqFileService.h"

#include <string>
#include <sys/stat.h>

namespace q32::posix {

/// Replaces a path by the target of the links at its end, which need not exist yet.
bool fnFollow(std::string& path);

/// Gives a file the mode of another one and, as far as the caller is permitted, its owner.
bool fnKeepFacts(const Descriptor& file, const struct stat& old);

/// Renames a file over another one in the same directory, and synchronises the directory to disk.
bool fnRename(const std::string& from, const std::string& to);

/// Synchronises a closed file to disk and replaces `to` by it, with the mode and owner of the file
/// there. A link is followed: its target is replaced, which fails on another file system. Fails if
/// the file is locked or not writable by the caller.
CQ_FILE_CAUSE fnReplaceFile(const std::string& from, const std::string& to);

} // namespace q32::posix
