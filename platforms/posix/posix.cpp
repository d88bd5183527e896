#include "platforms/posix/posix.h"

#include "platforms/headless/headless.h"
#include "platforms/posix/CodePage.h"
#include "platforms/posix/CqPosixFiles.h"
#include "platforms/posix/CqPosixLocale.h"
#include "platforms/posix/CqPosixMemory.h"
#include "platforms/posix/CqPosixMessages.h"
#include "platforms/posix/CqPosixScratch.h"

using namespace q32::posix;

CqPlatform q32PosixPlatform(const CqPosixOptions& options) {
    const auto codePage = std::make_shared<const CodePage>(options.m_szLocale);
    CqPlatform platform =
        options.m_pHeadless ? options.m_pHeadless->fnPlatform() : q32HeadlessPlatform();
    platform.m_pMemory = std::make_shared<CqPosixMemory>();
    platform.m_pScratch = std::make_shared<CqPosixScratch>(codePage);
    platform.m_pFiles = std::make_shared<CqPosixFiles>(options, codePage);
    platform.m_pLocale = std::make_shared<CqPosixLocale>(codePage);
    if (options.m_bSystemErrors)
        platform.m_pMessages = std::make_shared<CqPosixMessages>(platform.m_pMessages, codePage);
    return platform;
}
