/// @file
/// Steps that scratch files, streams and settings share. All paths are native; failures leave
/// errno.
#pragma once

#include "platforms/posix/Descriptor.h"
#include "q32Base/platform/CqFileService.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace q32::posix {

/// The library's cause for an errno.
CQ_FILE_CAUSE fnFileCause(int error);

/// Opens a regular file, without hanging on a pipe's other end. Anything else gives EACCES, as a
/// directory does to somebody who wants a file.
/// @param flags  of `open`; close-on-exec is added
Descriptor fnOpenRegular(const char* path, int flags, mode_t mode = 0600);

/// Takes the lock of an open file, `LOCK_EX` or `LOCK_SH`, without waiting.
bool fnTryLock(const Descriptor& file, int operation);

/// Whether `name` (seen from the directory `directory`, or AT_FDCWD) is this very file and no link.
bool fnIsNameOf(int directory, const char* name, const Descriptor& file);

/// Removes a name unless somebody holds the file's lock, which gives EWOULDBLOCK.
bool fnRemoveUnheld(int directory, const char* name);

/// Reads up to `count` bytes at `offset`; fewer only at the end. Nothing on failure.
std::optional<std::size_t> fnReadAt(const Descriptor& file, void* buffer, std::size_t count,
                                    std::uint64_t offset);
/// Writes all bytes at `offset`.
bool fnWriteAt(const Descriptor& file, const void* buffer, std::size_t count, std::uint64_t offset);

/// 16 random hexadecimal digits. A guess at them helps nobody: names are created exclusively.
std::string fnRandomDigits();

} // namespace q32::posix
