#include "tests/plugins/JpegAllocations.h"

#include <cstdlib>

struct jpeg_common_struct;

namespace {

thread_local std::size_t theBytes = 0;

} // namespace

std::size_t fnCountJpegBytes() {
    return theBytes;
}

// Visible, so that they come ahead of those in the shared library.
extern "C" [[gnu::visibility("default")]] void* jpeg_get_small(jpeg_common_struct*,
                                                               std::size_t size) {
    theBytes += size;
    return std::malloc(size);
}

extern "C" [[gnu::visibility("default")]] void* jpeg_get_large(jpeg_common_struct*,
                                                               std::size_t size) {
    theBytes += size;
    return std::malloc(size);
}
