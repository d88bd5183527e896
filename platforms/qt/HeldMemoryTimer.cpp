#include "platforms/qt/HeldMemoryTimer_p.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QTimer>

namespace q32::qt {

void HeldMemoryTimer::fnStart() {
    QCoreApplication* const application = QCoreApplication::instance();
    if (!application || m_bRuns.exchange(true))
        return;
    // Its end is noticed also if the application is destroyed before the timer has run.
    const std::shared_ptr<void> running(
        this, [timer = shared_from_this()](void*) { timer->m_bRuns = false; });
    // A timer starts in the thread of its object.
    QMetaObject::invokeMethod(
        application,
        [timer = shared_from_this(), running] { timer->fnRunAfter(timer->m_Age, running); },
        Qt::QueuedConnection);
}

void HeldMemoryTimer::fnRunAfter(std::chrono::milliseconds time,
                                 const std::shared_ptr<void>& running) {
    QTimer::singleShot(time, QCoreApplication::instance(),
                       [timer = shared_from_this(), running] { timer->fnRelease(running); });
}

void HeldMemoryTimer::fnRelease(const std::shared_ptr<void>& running) {
    // Cleared first, so that memory held back from now on finds a timer or starts one.
    m_bRuns = false;
    const auto memory = m_pMemory.lock();
    const auto next = memory ? memory->fnReleaseHeld(m_Age) : std::chrono::milliseconds{};
    if (next.count() != 0 && !m_bRuns.exchange(true))
        fnRunAfter(next, running);
}

} // namespace q32::qt
