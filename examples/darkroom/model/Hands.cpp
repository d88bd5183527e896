#include "examples/darkroom/model/Hands.h"

#include "q32Base/platform/CqPlatform.h"

namespace darkroom {

namespace {

/// Work that takes less than so many times what a task costs isn't divided.
constexpr double kLeastWork = 4.0;

} // namespace

Hands::Hands(double nanoseconds) {
    CqWorkService* const service = q32::fnPlatform().m_pWork.get();
    if (service &&
        nanoseconds >= kLeastWork * static_cast<double>(service->fnGetOverhead().count()))
        m_nCount = service->fnGetConcurrency();
}

void Hands::fnRunPieces(std::uint32_t count, CqWorkPieces& pieces) {
    q32::fnPlatform().m_pWork->fnRun(count, pieces);
}

} // namespace darkroom
