/// @file
/// Operations shared by scratch files, streams and settings. All paths are native; failures leave
/// errno.
#pragma once

#include "platforms/common/Descriptor_p.h"
#include "q32Base/platform/CqFileService.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace q32::posix {

/// The library's cause for an errno.
CQ_FILE_CAUSE fnFileCause(int error);
/// The same for the error of the last call of the system.
inline CQ_FILE_CAUSE fnLastCause() {
    return fnFileCause(errno);
}

/// Opens a regular file, without blocking on a pipe. Anything else gives EACCES, as a directory
/// does when opened as a file.
/// @param flags  as for `open`; close-on-exec is added
Descriptor fnOpenRegular(const char* path, int flags, mode_t mode = 0600);

/// Takes the lock of an open file, `LOCK_EX` or `LOCK_SH`, without waiting.
bool fnTryLock(const Descriptor& file, int operation);

/// Whether `name` (relative to the directory `directory`, or AT_FDCWD) is this very file and no
/// link.
bool fnIsNameOf(int directory, const char* name, const Descriptor& file);

/// Removes a name unless the file is locked, which gives EWOULDBLOCK, or can't be opened to ask.
bool fnRemoveUnheld(int directory, const char* name);

/// Reads up to `count` bytes at `offset`; fewer only at the end of the file. Nothing on failure.
std::optional<std::size_t> fnReadAt(const Descriptor& file, void* buffer, std::size_t count,
                                    std::uint64_t offset);
/// Writes all bytes at `offset`.
bool fnWriteAt(const Descriptor& file, const void* buffer, std::size_t count, std::uint64_t offset);

/// 16 random hexadecimal digits. They need not be unpredictable: names are created exclusively.
std::string fnRandomDigits();

} // namespace q32::posix
