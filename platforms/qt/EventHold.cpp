#include "platforms/qt/EventHold.h"

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

/// Keys whose numbers aren't those of their signs.
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

/// The library's number of a key; 0 for one that has none.
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
           type == QEvent::ShortcutOverride; // a key that is a shortcut comes as nothing else
}

bool fnIsDrag(QEvent::Type type) {
    return type == QEvent::DragEnter || type == QEvent::DragMove || type == QEvent::DragLeave ||
           type == QEvent::Drop;
}

/// What the window system tells a window, and what waits until the operation is over.
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

/// Where the cursor and the focus are: 0 for events that don't tell.
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

/// Whether a modal window has come up that holds a window back.
bool fnIsBlocked(QObject* object) {
    const QWindow* modal = QGuiApplication::modalWindow();
    if (!modal)
        return false;
    for (auto* at = qobject_cast<QWindow*>(object); at; at = at->transientParent())
        if (at == modal)
            return false;
    return true;
}

/// What the user does to a window, and what a modal window holds back.
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
    const QPointer<EventHold> self(this); // a call that is made may end it
    const auto restore = qScopeGuard([&] {
        if (self)
            std::tie(m_bLooking, m_nLookLevel) = outer;
    });
    // Timers stay out, so that this one waits for the event loop too.
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
        m_Down.clear(); // a key that goes up in a window that is held back isn't seen
    // A call that the host has queued may show a dialog, whose loop is not the look's.
    if (m_bLooking && QThread::currentThread()->loopLevel() == m_nLookLevel)
        return fnFilterLook(object, event);
    if (m_Held.empty() || event == m_pDelivered || !object->isWindowType())
        return false;
    if (type != QEvent::KeyPress && type != QEvent::KeyRelease && !fnIsForLater(type))
        return false;
    // Qt sends these itself from within calls, of a window that comes up for instance. A newer one
    // tells all that the kept ones did.
    if (const int notice = fnGetNotice(type)) {
        std::erase_if(m_Held, [=](const Held& held) {
            return held.m_pObject == object && fnGetNotice(held.m_pEvent->type()) == notice;
        });
        return false;
    }
    // A window that is just being shown has its events at once, before the event loop runs. One
    // that the program closes goes at once, but for what the user has done to it before.
    const bool closes = type == QEvent::Close;
    const bool waits = std::any_of(m_Held.begin(), m_Held.end(), [=](const Held& held) {
        return held.m_pObject == object && (!closes || fnIsInput(held.m_pEvent->type()));
    });
    const bool input = fnIsInput(type);
    if (!waits && (!input || closes))
        return false;
    // What is newer than what was kept has to wait for it, and may find its window gone. But how a
    // window looks and lies is told by loops too that let no input through.
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
        event->accept(); // a shortcut that is overridden doesn't act
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
        event->ignore(); // its data would be gone by the time it is delivered
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
    } else if (!event.isAutoRepeat()) { // else the key is still held
        m_Down.erase(key);
    }
}

void EventHold::fnNoteFocus(QWindow* window) {
    // A key that goes up in another program, or while no window has the keyboard, is not seen: it
    // would stay down for ever, and stop each operation. A window that has gone leaves no trace.
    if (!window || !m_pFocus)
        m_Down.clear();
    m_pFocus = window;
}

void EventHold::fnKeepKey(const QKeyEvent& event, UINT message) {
    if (message == WM_KEYUP && event.isAutoRepeat())
        return;
    const int key = fnToKey(event.key());
    // A press that comes a second time, as a shortcut's look ahead, counts once.
    if (message == WM_KEYDOWN && !m_Keys.empty() && m_Keys.back().m_nMessage == WM_KEYDOWN &&
        m_Keys.back().m_wParam == static_cast<WPARAM>(key))
        return;
    m_Keys.push_back({message, static_cast<WPARAM>(key)});
}

void EventHold::fnHold(QObject* object, QEvent* event) {
    m_Held.push_back({object, std::unique_ptr<QEvent>(event->clone())});
    // A window whose paint was refused is told by an expose event as well, and an accepted close
    // would close it.
    event->ignore();
}

void EventHold::fnDeliver(Which which) {
    const auto chosen = [=](const Held& held) {
        return which == Which::ALL || !fnIsInput(held.m_pEvent->type());
    };
    if (which == Which::ALL)
        m_Keys.clear(); // the next operation has its own
    // What is delivered may start another operation, or a loop that delivers the rest.
    QPointer<QObject> painted; // its expose event is in the paint
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
        const QPointer<EventHold> self(this); // whoever gets it may end the back end
        QCoreApplication::sendEvent(object, held.m_pEvent.get());
        if (!self)
            return;
        m_pDelivered = nullptr;
        painted = type == QEvent::Paint && held.m_pEvent->isAccepted() ? object : nullptr;
    }
}

} // namespace q32::qt
