#include "platforms/posix/posix.h"

#include "platforms/posix/CodePage_p.h"
#include "platforms/posix/CqPosixErrorStream_p.h"
#include "platforms/posix/CqPosixFiles_p.h"
#include "platforms/posix/CqPosixLocale_p.h"
#include "platforms/posix/CqPosixMemory_p.h"
#include "platforms/posix/CqPosixMessages_p.h"
#include "platforms/posix/CqPosixScratch_p.h"
#include "platforms/posix/CqPosixWork_p.h"
#include "platforms/software/software.h"

using namespace q32::posix;

namespace {

/// Replaces null services by those of `q32SoftwareServices`, but messages go to the error stream.
void fnFillUp(CqPlatform& platform) {
    const CqPlatform software = q32SoftwareServices();
    const auto fill = [](auto& service, const auto& standard) {
        if (!service)
            service = standard;
    };
    fill(platform.m_pScreen, software.m_pScreen);
    if (!platform.m_pMessages)
        platform.m_pMessages = std::make_shared<CqPosixErrorStream>();
    fill(platform.m_pKeyboard, software.m_pKeyboard);
    fill(platform.m_pResources, software.m_pResources);
    fill(platform.m_pWaveOut, software.m_pWaveOut);
    fill(platform.m_pMixers, software.m_pMixers);
    fill(platform.m_pWindows, software.m_pWindows);
}

} // namespace

std::uint64_t q32PosixUsableMemory() {
    return fnUsableMemory();
}

CqPlatform q32PosixPlatform(const CqPosixOptions& options) {
    const auto codePage = std::make_shared<const CodePage>(options.m_szLocale);
    CqPlatform platform = options.m_Others;
    fnFillUp(platform);
    platform.m_pMemory = std::make_shared<CqPosixMemory>(fnUsableMemory, options.m_MemoryHeld);
    platform.m_pScratch = std::make_shared<CqPosixScratch>(
        codePage, fnUsableMemory, options.m_bGuardViews && ViewGuard::fnInstall());
    platform.m_pFiles = std::make_shared<CqPosixFiles>(options, codePage);
    platform.m_pLocale = std::make_shared<CqPosixLocale>(codePage);
    if (!platform.m_pWork)
        platform.m_pWork = fnMakeWork(options.m_nConcurrency);
    if (options.m_bSystemErrors)
        platform.m_pMessages = std::make_shared<CqPosixMessages>(platform.m_pMessages, codePage);
    return platform;
}

void q32PosixLimitViews(const CqPlatform& platform, std::uint64_t bytes) {
    if (auto* const scratch = dynamic_cast<CqPosixScratch*>(platform.m_pScratch.get()))
        scratch->fnLimitViews(bytes);
}

void q32PosixTrimViews(const CqPlatform& platform) noexcept {
    if (auto* const scratch = dynamic_cast<CqPosixScratch*>(platform.m_pScratch.get()))
        scratch->fnTrimViews();
}
