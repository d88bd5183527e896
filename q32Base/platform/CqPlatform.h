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
#include "q32Base/platform/Export.h"

#include <memory>

/// Everything that the library asks of the world. A host starts from a complete platform (headless,
/// posix) and replaces the services that it wants otherwise. Services are shared: they live as long
/// as anyone holds them.
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

    /// Whether every service is there.
    bool fnIsComplete() const;
};

/// Who shows message boxes while no platform is attached: before the start and after the stop. An
/// attach sets it to the platform's own service, which stays in force after the detach. Null: no
/// box, and the answer 0.
Q32_API void q32SetMessageService(std::shared_ptr<CqMessageService> messages);

namespace q32 {

/// The platform in force. Only between attach and detach.
Q32_API const CqPlatform& fnPlatform();
/// Whether a platform is in force.
bool fnHasPlatform();
/// Puts a platform in force, or takes it out. The module's start and stop alone call this.
void fnSetPlatform(CqPlatform platform);
void fnClearPlatform();
/// The message service in force; null when there is none. Who shows a box holds it, since another
/// may be put in force while the box stands.
std::shared_ptr<CqMessageService> fnMessageService();

} // namespace q32
