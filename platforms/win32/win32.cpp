#include "platforms/win32/win32.h"

#include "platforms/win32/CodePage_p.h"
#include "platforms/win32/CqWin32Files_p.h"
#include "platforms/win32/CqWin32Keyboard_p.h"
#include "platforms/win32/CqWin32Locale_p.h"
#include "platforms/win32/CqWin32Memory_p.h"
#include "platforms/win32/CqWin32Messages_p.h"
#include "platforms/win32/CqWin32Scratch_p.h"

CqPlatform q32Win32Services(const CqWin32Options& options) {
    const auto codePage = std::make_shared<const q32::win32::CodePage>(options.m_nCodePage);
    CqPlatform services;
    services.m_pMemory = std::make_shared<CqWin32Memory>();
    services.m_pScratch = std::make_shared<CqWin32Scratch>(codePage);
    services.m_pFiles = std::make_shared<CqWin32Files>(options, codePage);
    services.m_pLocale = std::make_shared<CqWin32Locale>(codePage);
    services.m_pMessages = std::make_shared<CqWin32Messages>(codePage);
    services.m_pKeyboard = std::make_shared<CqWin32Keyboard>();
    return services;
}
