#pragma once

#include "q32Base/platform/CqWorkService.h"

#include <cstdint>
#include <memory>

namespace q32::win32 {

/// The work service on the system's thread pool. Null where one thread is all there is.
/// Throws std::bad_alloc.
/// @param concurrency  how many threads take part in a task; 0: one for each core that this process
///                     may use
std::shared_ptr<CqWorkService> fnMakeWork(std::uint32_t concurrency);

} // namespace q32::win32
