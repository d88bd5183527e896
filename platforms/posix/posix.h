/// @file
/// The back end for POSIX systems: memory, files and language of the real system.
#pragma once

#include "platforms/posix/CqPosixOptions.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// A complete platform: memory, scratch files, files, language and errors of this system, and the
/// rest according to the options. Throws std::bad_alloc.
Q32_API CqPlatform q32PosixPlatform(const CqPosixOptions& options = {});

/// How many bytes of memory this process may use: those of the machine, or less where a control
/// group limits it. 0 when unknown. Throws std::bad_alloc.
Q32_API std::uint64_t q32PosixUsableMemory();

/// Deletes scratch files left by killed processes in a directory: regular files owned by the
/// caller, named "~qd*.tmp", that are not locked. Files in use by any process stay.
/// @return  how many were deleted; 0 also for a directory that can't be read, and fewer when memory
///          runs out
Q32_API std::size_t q32PosixSweepScratchFiles(const char* directory);
/// The same for several directories, such as the scratch paths; empty names are skipped.
Q32_API std::size_t q32PosixSweepScratchFiles(std::span<const std::string> directories);

/// Limits how many bytes of files may be mapped into this process while the platform, one of
/// `q32PosixPlatform`, has scratch files; 0, as initially: any number. Call it before images are
/// made, from the thread that makes them. What exceeds the limit is unmapped by
/// `q32PosixTrimViews`. It stays in the files and, as long as the system needs the memory for
/// nothing else, in its cache. No effect on a platform with another scratch service.
Q32_API void q32PosixLimitViews(const CqPlatform& platform, std::uint64_t bytes);
/// Unmaps the scratch files if more is mapped than the limit allows: their pages are mapped again
/// as they are used. Takes some microseconds otherwise, and no time without a limit. A host calls
/// it while operations report progress, every millisecond or so. From any thread.
Q32_API void q32PosixTrimViews(const CqPlatform& platform) noexcept;
