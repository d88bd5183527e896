#pragma once

#include "q32Base/platform/CqFileService.h"
#include "q32Base/platform/CqKeyboardService.h"
#include "q32Base/platform/CqLocaleService.h"
#include "q32Base/platform/CqMemoryService.h"
#include "q32Base/platform/CqMessageService.h"
#include "q32Base/platform/CqMixerService.h"
#include "q32Base/platform/CqResourceService.h"
#include "q32Base/platform/CqScratchService.h"
#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/CqWindowService.h"
#include "q32Base/platform/CqWorkService.h"
#include "q32Base/platform/Export.h"

#include <memory>

/// The services through which the library reaches the system. A host starts from a complete
/// platform (headless, posix) and replaces individual services. Their ownership is shared.
struct Q32_API CqPlatform {
    std::shared_ptr<CqMemoryService> m_pMemory;
    std::shared_ptr<CqScratchService> m_pScratch;
    std::shared_ptr<CqFileService> m_pFiles;
    std::shared_ptr<CqScreenService> m_pScreen;
    std::shared_ptr<CqMessageService> m_pMessages;
    std::shared_ptr<CqKeyboardService> m_pKeyboard;
    std::shared_ptr<CqResourceService> m_pResources;
    std::shared_ptr<CqWaveOutService> m_pWaveOut;
    std::shared_ptr<CqMixerService> m_pMixers;
    std::shared_ptr<CqLocaleService> m_pLocale;
    std::shared_ptr<CqWindowService> m_pWindows;
    /// Optional: null means that each operation is done by the thread that calls it.
    std::shared_ptr<CqWorkService> m_pWork;

    /// Whether every service is set, except for the optional one.
    bool fnIsComplete() const;
};

/// Sets the service that shows message boxes while no platform is attached. An attach sets it to
/// the platform's own service, which stays in force after the detach. With null no box is shown and
/// the answer is 0.
Q32_API void q32SetMessageService(std::shared_ptr<CqMessageService> messages);

namespace q32 {

/// The platform in force. Valid only between attach and detach.
Q32_API const CqPlatform& fnPlatform();
/// Whether a platform is in force.
bool fnHasPlatform();
/// Set and clear the platform in force. Called only by attach and detach.
void fnSetPlatform(CqPlatform platform);
void fnClearPlatform();
/// The message service in force; null if there is none. Hold it while a box is open, since another
/// may be set meanwhile.
std::shared_ptr<CqMessageService> fnMessageService();

} // namespace q32
