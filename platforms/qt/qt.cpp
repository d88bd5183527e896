#include "platforms/qt/qt.h"

#include "platforms/posix/CodePage_p.h"
#include "platforms/qt/CqQtKeyboard_p.h"
#include "platforms/qt/CqQtMessages_p.h"
#include "platforms/qt/CqQtScreen_p.h"
#include "platforms/qt/HeldMemoryTimer_p.h"

#include <QGuiApplication>
#include <QScreen>

CqPlatform q32QtPlatform(const std::shared_ptr<CqQtWindows>& windows, const CqQtOptions& options) {
    const auto codePage = std::make_shared<const q32::posix::CodePage>(options.m_Posix.m_szLocale);
    const auto timer = std::make_shared<q32::qt::HeldMemoryTimer>();
    CqPosixOptions posix = options.m_Posix;
    posix.m_MemoryHeld = [timer, hosts = options.m_Posix.m_MemoryHeld] {
        timer->fnStart();
        if (hosts)
            hosts();
    };
    CqPlatform platform = q32PosixPlatform(posix);
    timer->fnWatch(platform.m_pMemory);
    platform.m_pScreen =
        std::make_shared<CqQtScreen>(platform.m_pScreen, codePage, options.m_nBits);
    platform.m_pMessages = std::make_shared<CqQtMessages>(platform.m_pMessages, codePage, windows);
    platform.m_pKeyboard = std::make_shared<CqQtKeyboard>();
    windows->fnSetCodePage(codePage);
    platform.m_pWindows = windows;
    return platform;
}

std::shared_ptr<CqQtWindows> q32QtWindows() {
    return std::make_shared<CqQtWindows>();
}

bool q32QtCanPaint() {
    constexpr int kMinDepth = 15;
    const QScreen* screen = qobject_cast<QGuiApplication*>(QCoreApplication::instance())
                                ? QGuiApplication::primaryScreen()
                                : nullptr;
    return screen && screen->depth() >= kMinDepth;
}
