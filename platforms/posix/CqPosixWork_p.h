#pragma once

#include "q32Base/platform/CqWorkService.h"

#include <cstdint>
#include <memory>

namespace q32::posix {

/// A work service of so many threads; 0: one for each core that this process may use. Null for one
/// thread, and where the library was built without oneTBB. Throws std::bad_alloc.
std::shared_ptr<CqWorkService> fnMakeWork(std::uint32_t concurrency);

} // namespace q32::posix
