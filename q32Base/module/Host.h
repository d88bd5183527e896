/// @file
/// What most hosts do first and last, in two calls.
#pragma once

#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <functional>

/// Attaches the library, runs `work` and detaches. The objects of `work` are gone by then, as
/// `q32Detach` requires.
///
/// An exception of the library or the standard library that `work` throws is shown as a message
/// box, or written to the standard error stream if no box can be shown; so nothing ends the program
/// by std::terminate because of exhausted memory. Others pass through, after the detach.
/// @return what `work` returns; EXIT_FAILURE if the library can't be attached, and after such an
///         exception
Q32_API int q32RunHost(CqPlatform platform, const std::function<int()>& work);

/// Sets how many bytes of memory images and sounds may take together before they go to the scratch
/// disks; the settings alone give them 42.9 MB at most. Call it after the attach, and again when
/// the settings were read again.
/// @param bytes  0: the settings' percentage of the machine's memory, if it is enabled there, else
///               one half; but no more than the platform allows this process
/// @return the limit now in force; 0, with no effect, while the library isn't attached
Q32_API std::uint64_t q32SetMemoryLimit(std::uint64_t bytes = 0);
