#include "platforms/software/software.h"

#include "platforms/software/CqSoftwareKeyboard_p.h"
#include "platforms/software/CqSoftwareMessages_p.h"
#include "platforms/software/CqSoftwareMixers_p.h"
#include "platforms/software/CqSoftwareScreen_p.h"
#include "platforms/software/CqSoftwareWaveOut_p.h"
#include "platforms/software/CqSoftwareWindows_p.h"

CqPlatform q32SoftwareServices(UINT codePage) {
    CqPlatform services;
    services.m_pScreen = std::make_shared<CqSoftwareScreen>();
    services.m_pMessages = std::make_shared<CqSoftwareMessages>();
    services.m_pKeyboard = std::make_shared<CqSoftwareKeyboard>();
    services.m_pResources = std::make_shared<CqSoftwareResources>(codePage);
    services.m_pWaveOut = std::make_shared<CqSoftwareWaveOut>();
    services.m_pMixers = std::make_shared<CqSoftwareMixers>();
    services.m_pWindows = std::make_shared<CqSoftwareWindows>();
    return services;
}
