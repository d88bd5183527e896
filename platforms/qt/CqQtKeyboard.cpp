#include "platforms/qt/CqQtKeyboard_p.h"
#include "platforms/qt/EventHold_p.h"

#include <QGuiApplication>
#include <QThread>

using namespace q32::qt;

namespace {

/// A look takes some twenty microseconds; at ten milliseconds that is below a quarter of a percent.
constexpr std::chrono::milliseconds kBetweenLooks{10};

} // namespace

CqQtKeyboard::CqQtKeyboard() {
    fnGetHold();
}

CqQtKeyboard::~CqQtKeyboard() {
    delete m_pHold.data();
}

EventHold* CqQtKeyboard::fnGetHold() {
    auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!app || QCoreApplication::closingDown() || QThread::currentThread() != app->thread())
        return nullptr;
    if (!m_pHold) {
        m_pHold = new EventHold;
        m_pHold->setParent(app);
        m_LastLook = {};
    }
    return m_pHold;
}

EventHold* CqQtKeyboard::fnLook() {
    EventHold* const hold = fnGetHold();
    if (!hold)
        return nullptr;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_LastLook >= kBetweenLooks) {
        hold->fnLook();
        m_LastLook = std::chrono::steady_clock::now();
    }
    return m_pHold; // null if the look deleted it
}

bool CqQtKeyboard::fnIsKeyDown(int key) {
    const EventHold* hold = fnLook();
    return hold && hold->fnIsDown(key);
}

bool CqQtKeyboard::fnIsKeyDownNow(int key) {
    return fnIsKeyDown(key);
}

bool CqQtKeyboard::fnTakeKeyMessage(CqKeyMessage& message) {
    EventHold* hold = fnLook();
    return hold && hold->fnTake(message);
}
