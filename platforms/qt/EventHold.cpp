#include "platforms/qt/EventHold_p.h"

#include <algorithm>
#include <array>
#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScopeGuard>
#include <QThread>
#include <QWindow>
#include <tuple>
#include <utility>

namespace q32::qt {

namespace {

struct KeyPair {
    int m_nQt;
    int m_nKey;
};

/// Keys whose codes aren't those of their characters.
constexpr std::array<KeyPair, 18> kKeys = {{{Qt::Key_Escape, VK_ESCAPE},
                                            {Qt::Key_Backspace, 8},
                                            {Qt::Key_Tab, 9},
                                            {Qt::Key_Backtab, 9},
                                            {Qt::Key_Return, 13},
                                            {Qt::Key_Enter, 13},
                                            {Qt::Key_Shift, 16},
                                            {Qt::Key_Control, 17},
                                            {Qt::Key_Alt, 18},
                                            {Qt::Key_PageUp, 33},
                                            {Qt::Key_PageDown, 34},
                                            {Qt::Key_End, 35},
                                            {Qt::Key_Home, 36},
                                            {Qt::Key_Left, 37},
                                            {Qt::Key_Up, 38},
                                            {Qt::Key_Right, 39},
                                            {Qt::Key_Down, 40},
                                            {Qt::Key_Delete, 46}}};

/// The library's key code; 0 for a key without one.
int fnToKey(int key) {
    for (const KeyPair& pair : kKeys)
        if (pair.m_nQt == key)
            return pair.m_nKey;
    const bool sign =
        key == Qt::Key_Space || (key >= '0' && key <= '9') || (key >= 'A' && key <= 'Z');
    return sign ? key : 0;
}

bool fnIsKey(QEvent::Type type) {
    return type == QEvent::KeyPress || type == QEvent::KeyRelease ||
           type == QEvent::ShortcutOverride; // a shortcut key sends nothing else
}

bool fnIsDrag(QEvent::Type type) {
    return type == QEvent::DragEnter || type == QEvent::DragMove || type == QEvent::DragLeave ||
           type == QEvent::Drop;
}

/// Whether an event comes from the window system and must wait until the operation is over.
bool fnIsForLater(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
    case QEvent::TabletMove:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::ContextMenu:
    case QEvent::Enter:
    case QEvent::Leave:
    case QEvent::FocusIn:
    case QEvent::FocusOut:
    case QEvent::Paint:
    case QEvent::Expose:
    case QEvent::Resize:
    case QEvent::Move:
    case QEvent::WindowStateChange:
    case QEvent::Close:
        return true;
    default:
        return false;
    }
}

/// An id for events that report the state of the cursor or the focus; 0 for others.
int fnGetNotice(QEvent::Type type) {
    switch (type) {
    case QEvent::Enter:
    case QEvent::Leave:
        return 1;
    case QEvent::FocusIn:
    case QEvent::FocusOut:
        return 2;
    default:
        return 0;
    }
}

/// Whether a modal window has appeared that blocks a window.
bool fnIsBlocked(QObject* object) {
    const QWindow* modal = QGuiApplication::modalWindow();
    if (!modal)
        return false;
    for (auto* at = qobject_cast<QWindow*>(object); at; at = at->transientParent())
        if (at == modal)
            return false;
    return true;
}

/// Whether an event is user input to a window, which a modal window blocks.
bool fnIsInput(QEvent::Type type) {
    switch (type) {
    case QEvent::Enter:
    case QEvent::Leave:
    case QEvent::FocusIn:
    case QEvent::FocusOut:
    case QEvent::Paint:
    case QEvent::Expose:
    case QEvent::Resize:
    case QEvent::Move:
    case QEvent::WindowStateChange:
    case QEvent::UpdateRequest:
        return false;
    default:
        return true;
    }
}

} // namespace

EventHold::EventHold() : m_pFocus(QGuiApplication::focusWindow()) {
    m_Timer.setSingleShot(true);
    QObject::connect(&m_Timer, &QTimer::timeout, this, [this] { fnDeliver(Which::ALL); });
    QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &EventHold::fnNoteFocus);
    qGuiApp->installEventFilter(this);
}

EventHold::~EventHold() = default;

void EventHold::fnLook() {
    const int level = QThread::currentThread()->loopLevel();
    if (m_bLooking && level == m_nLookLevel)
        return;
    const auto outer = std::pair(m_bLooking, m_nLookLevel);
    m_bLooking = true;
    m_nLookLevel = level;
    const QPointer<EventHold> self(this); // a call made by this may delete it
    const auto restore = qScopeGuard([&] {
        if (self)
            std::tie(m_bLooking, m_nLookLevel) = outer;
    });
    // Timers are excluded, so that this one also waits for the event loop.
    if (!m_Timer.isActive())
        m_Timer.start(0);
    QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers |
                                    QEventLoop::X11ExcludeTimers);
}

bool EventHold::fnTake(CqKeyMessage& message) {
    if (m_Keys.empty())
        return false;
    message = m_Keys.front();
    m_Keys.pop_front();
    return true;
}

bool EventHold::eventFilter(QObject* object, QEvent* event) {
    const QEvent::Type type = event->type();
    if (object->isWindowType() && fnIsKey(type))
        fnNoteKey(static_cast<const QKeyEvent&>(*event));
    if (type == QEvent::WindowBlocked)
        m_Down.clear(); // a key released in a blocked window isn't seen
    // A call queued by the host may show a dialog, whose loop isn't the look's.
    if (m_bLooking && QThread::currentThread()->loopLevel() == m_nLookLevel)
        return fnFilterLook(object, event);
    if (m_Held.empty() || event == m_pDelivered || !object->isWindowType())
        return false;
    if (type != QEvent::KeyPress && type != QEvent::KeyRelease && !fnIsForLater(type))
        return false;
    // Qt sends these itself from within calls, for example when a window appears. A newer one
    // replaces the held ones.
    if (const int notice = fnGetNotice(type)) {
        std::erase_if(m_Held, [=](const Held& held) {
            return held.m_pObject == object && fnGetNotice(held.m_pEvent->type()) == notice;
        });
        return false;
    }
    // A window being shown gets its events at once, before the event loop runs. A close by the
    // program is delivered at once, unless user input to that window is held.
    const bool closes = type == QEvent::Close;
    const bool waits = std::any_of(m_Held.begin(), m_Held.end(), [=](const Held& held) {
        return held.m_pObject == object && (!closes || fnIsInput(held.m_pEvent->type()));
    });
    const bool input = fnIsInput(type);
    if (!waits && (!input || closes))
        return false;
    // A newer event has to wait for the held ones, which may delete its window. Events about
    // appearance and geometry are also delivered by loops that exclude user input.
    const QPointer<QObject> target(object);
    fnDeliver(input ? Which::ALL : Which::NO_INPUT);
    return target.isNull();
}

bool EventHold::fnFilterLook(QObject* object, QEvent* event) {
    const QEvent::Type type = event->type();
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:
        fnKeepKey(static_cast<const QKeyEvent&>(*event), WM_KEYDOWN);
        event->accept(); // an overridden shortcut doesn't trigger
        return true;
    case QEvent::KeyRelease:
        fnKeepKey(static_cast<const QKeyEvent&>(*event), WM_KEYUP);
        return true;
    case QEvent::Shortcut:
    case QEvent::InputMethod:
        return true;
    case QEvent::UpdateRequest:
        fnHold(object, event);
        return true;
    default:
        break;
    }
    if (!object->isWindowType())
        return false;
    if (fnIsDrag(type)) {
        event->ignore(); // its data would be invalid by the time it is delivered
        return true;
    }
    if (!fnIsForLater(type))
        return false;
    fnHold(object, event);
    return true;
}

void EventHold::fnNoteKey(const QKeyEvent& event) {
    const int key = fnToKey(event.key());
    if (event.type() != QEvent::KeyRelease) {
        if (key != 0)
            m_Down.insert(key);
    } else if (!event.isAutoRepeat()) { // otherwise the key is still down
        m_Down.erase(key);
    }
}

void EventHold::fnNoteFocus(QWindow* window) {
    // The release of a key in another program, or while no window has the focus, is not seen: the
    // key would stay down for ever, and stop every operation. m_pFocus is also null once
    // its window is deleted.
    if (!window || !m_pFocus)
        m_Down.clear();
    m_pFocus = window;
}

void EventHold::fnKeepKey(const QKeyEvent& event, UINT message) {
    if (message == WM_KEYUP && event.isAutoRepeat())
        return;
    const int key = fnToKey(event.key());
    // A press reported twice, by a shortcut override ahead of it, counts once.
    if (message == WM_KEYDOWN && !m_Keys.empty() && m_Keys.back().m_nMessage == WM_KEYDOWN &&
        m_Keys.back().m_wParam == static_cast<WPARAM>(key))
        return;
    m_Keys.push_back({message, static_cast<WPARAM>(key)});
}

void EventHold::fnHold(QObject* object, QEvent* event) {
    m_Held.push_back({object, std::unique_ptr<QEvent>(event->clone())});
    // A window whose paint event was refused also gets an expose event, and an accepted close event
    // would close it.
    event->ignore();
}

void EventHold::fnDeliver(Which which) {
    const auto chosen = [=](const Held& held) {
        return which == Which::ALL || !fnIsInput(held.m_pEvent->type());
    };
    if (which == Which::ALL)
        m_Keys.clear(); // the next operation starts without old keys
    // A delivered event may start another operation, or a loop that delivers the rest.
    QPointer<QObject> painted; // its expose event is covered by the paint event
    for (;;) {
        const auto next = std::find_if(m_Held.begin(), m_Held.end(), chosen);
        if (next == m_Held.end())
            return;
        const Held held = std::move(*next);
        m_Held.erase(next);
        QObject* object = held.m_pObject;
        const QEvent::Type type = held.m_pEvent->type();
        if (!object || (type == QEvent::Expose && painted == object))
            continue;
        if (fnIsInput(type) && fnIsBlocked(object))
            continue;
        held.m_pEvent->accept();
        m_pDelivered = held.m_pEvent.get();
        const QPointer<EventHold> self(this); // the receiver may delete the back end
        QCoreApplication::sendEvent(object, held.m_pEvent.get());
        if (!self)
            return;
        m_pDelivered = nullptr;
        painted = type == QEvent::Paint && held.m_pEvent->isAccepted() ? object : nullptr;
    }
}

} // namespace q32::qt
