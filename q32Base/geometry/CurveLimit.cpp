#include "q32Base/geometry/CurveLimit.h"

#include <atomic>

namespace {

std::atomic<std::uint32_t> theLimit = kMaxCurveParts;

} // namespace

void q32SetCurveLimit(std::uint32_t parts) {
    theLimit = parts != 0 ? parts : kMaxCurveParts;
}

std::uint32_t q32GetCurveLimit() {
    return theLimit;
}
