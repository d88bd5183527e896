#include "tests/plugins/TiffAllocations.h"

#include <tiffio.h>

#include <cstdlib>

// NOLINTBEGIN(bugprone-reserved-identifier): the names are those of the sanitizer and of libtiff
// Null without the leak sanitizer.
extern "C" [[gnu::weak]] void __lsan_disable();
extern "C" [[gnu::weak]] void __lsan_enable();

namespace {

thread_local std::size_t theCountdown = 0; ///< 0: none is pending
thread_local bool theHappened = false;
thread_local std::size_t theBytes = 0;

bool fnMustFail(tmsize_t size) {
    theBytes += static_cast<std::size_t>(size);
    const bool now = theCountdown > 0 && --theCountdown == 0;
    theHappened = theHappened || now;
    return now;
}

} // namespace

TiffAllocations::TiffAllocations(std::size_t nth) {
    theCountdown = nth;
    theHappened = false;
    theBytes = 0;
    if (__lsan_disable)
        __lsan_disable();
}

TiffAllocations::~TiffAllocations() {
    theCountdown = 0;
    if (__lsan_enable)
        __lsan_enable();
}

bool TiffAllocations::fnHappened() const {
    return theHappened;
}

std::size_t TiffAllocations::fnGetBytes() const {
    return theBytes;
}

// Visible, so that they come ahead of those in the shared library.
[[gnu::visibility("default")]] void* _TIFFmalloc(tmsize_t size) {
    return size == 0 || fnMustFail(size) ? nullptr : std::malloc(static_cast<std::size_t>(size));
}

[[gnu::visibility("default")]] void* _TIFFrealloc(void* block, tmsize_t size) {
    return fnMustFail(size) ? nullptr : std::realloc(block, static_cast<std::size_t>(size));
}
// NOLINTEND(bugprone-reserved-identifier)
