#include "platforms/win32/win32.h"

#include "platforms/win32/CodePage_p.h"
#include "platforms/win32/CqWin32Files_p.h"
#include "platforms/win32/CqWin32Keyboard_p.h"
#include "platforms/win32/CqWin32Locale_p.h"
#include "platforms/win32/CqWin32Memory_p.h"
#include "platforms/win32/CqWin32Messages_p.h"
#include "platforms/win32/CqWin32Mixers_p.h"
#include "platforms/win32/CqWin32Scratch_p.h"
#include "platforms/win32/CqWin32Screen_p.h"
#include "platforms/win32/CqWin32WaveOut_p.h"
#include "platforms/win32/CqWin32Work_p.h"
#include "platforms/win32/DeviceContext_p.h"

CqPlatform q32Win32Platform(const std::shared_ptr<CqWin32Windows>& windows,
                            const CqWin32Options& options) {
    const auto codePage = std::make_shared<const q32::win32::CodePage>(options.m_nCodePage);
    CqPlatform platform;
    platform.m_pMemory = std::make_shared<CqWin32Memory>();
    platform.m_pScratch = std::make_shared<CqWin32Scratch>(codePage);
    platform.m_pFiles = std::make_shared<CqWin32Files>(options, codePage);
    platform.m_pScreen = std::make_shared<CqWin32Screen>(codePage);
    platform.m_pLocale = std::make_shared<CqWin32Locale>(codePage);
    platform.m_pMessages = std::make_shared<CqWin32Messages>(codePage);
    platform.m_pKeyboard = std::make_shared<CqWin32Keyboard>();
    platform.m_pResources = std::make_shared<CqWin32Resources>(
        options.m_Modules.empty() ? std::vector{::GetModuleHandleW(nullptr)} : options.m_Modules,
        codePage);
    platform.m_pWaveOut = std::make_shared<CqWin32WaveOut>();
    platform.m_pMixers = std::make_shared<CqWin32Mixers>(windows->fnGetFailures());
    platform.m_pWork = q32::win32::fnMakeWork(options.m_nConcurrency);
    windows->fnSetCodePage(codePage);
    platform.m_pWindows = windows;
    return platform;
}

std::shared_ptr<CqWin32Windows> q32Win32Windows() {
    return std::make_shared<CqWin32Windows>();
}

std::unique_ptr<CDC> q32Win32DC(HDC dc, int bits, UINT codePage) {
    using q32::win32::CodePage;
    using q32::win32::DeviceContext;
    if (!dc)
        return nullptr;
    return std::make_unique<DeviceContext>(dc, DeviceContext::END::KEEP,
                                           std::make_shared<const CodePage>(codePage), nullptr,
                                           nullptr, bits);
}
