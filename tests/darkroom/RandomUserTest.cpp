// A user who presses keys and moves the mouse at random. Q32_RANDOM_MINUTES makes a long run of it,
// and Q32_RANDOM_SEED another one.
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <QAction>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <random>
#include <set>
#include <time.h>

namespace {

using Clock = std::chrono::steady_clock;

/// Acts once in each pass of the event loop, also in the loops of dialogs and menus and in an
/// operation that polls the keyboard.
class RandomUser : public QObject {
public:
    RandomUser(QWidget& window, const QDir& folder, unsigned int seed)
        : m_Window(window), m_Folder(folder), m_Random(seed) {}

    /// Acts until `isOver`, closes what is open then, and returns.
    void fnRun(const std::function<bool()>& isOver) {
        m_IsOver = isOver;
        m_Last = fnGetWorked();
        m_LastThere = Clock::now();
        fnGoOn();
        m_Loop.exec();
    }
    std::size_t fnCountActs() const { return m_nActs; }
    /// The longest that the window's thread has worked without answering.
    std::chrono::milliseconds fnGetLongest() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_Longest);
    }
    /// The same with the waits, which other programs may cause.
    std::chrono::milliseconds fnGetLongestWait() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_LongestWait);
    }

private:
    unsigned int fnBelow(unsigned int limit) {
        return static_cast<unsigned int>(m_Random()) % limit;
    }
    template <typename T, std::size_t N>
    const T& fnPick(const T (&choices)[N]) {
        return choices[fnBelow(N)];
    }

    /// Processor time of this thread, which other programs don't lengthen.
    static std::chrono::nanoseconds fnGetWorked() {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    static QWidget* fnFindOpen() {
        QWidget* const popup = QApplication::activePopupWidget();
        return popup ? popup : QApplication::activeModalWidget();
    }

    void fnGoOn() {
        QTimer::singleShot(0, this, [this] { fnStep(); });
    }

    void fnStep() {
        const std::chrono::nanoseconds now = fnGetWorked();
        m_Longest = std::max(m_Longest, now - m_Last);
        m_Last = now;
        const Clock::time_point there = Clock::now();
        m_LongestWait = std::max(m_LongestWait, there - m_LastThere);
        m_LastThere = there;
        QPointer<QWidget> open = fnFindOpen();
        if (m_IsOver() && !open && !m_bActing) {
            m_Loop.quit();
            return;
        }
        // Scheduled first: what follows may stay in a dialog's loop.
        fnGoOn();
        const bool outer = !std::exchange(m_bActing, true);
        if (open)
            open->setProperty("used by the test", true);
        if (m_IsOver())
            QTest::keyEvent(QTest::Press, open ? open.data() : &m_Window, Qt::Key_Escape);
        else if (auto* const files = qobject_cast<QFileDialog*>(open.data()))
            fnChooseFile(*files);
        else if (open && open->inherits("QAbstractPrintDialog"))
            static_cast<QDialog*>(open.data())->reject();
        else
            fnAct(open ? *open : m_Window);
        if (outer)
            m_bActing = false;
    }

    void fnAct(QWidget& window) {
        ++m_nActs;
        switch (fnBelow(8)) {
        case 0:
        case 1:
        case 2:
            return fnPressKey(window);
        case 3:
            return fnTurnWheel(window);
        case 4:
            return fnDrag(window);
        default:
            return fnClick(window);
        }
    }

    void fnPressKey(QWidget& window) {
        static constexpr Qt::Key kKeys[] = {
            Qt::Key_Return, Qt::Key_Escape, Qt::Key_Tab,  Qt::Key_Space,    Qt::Key_Left,
            Qt::Key_Right,  Qt::Key_Up,     Qt::Key_Down, Qt::Key_Delete,   Qt::Key_Plus,
            Qt::Key_Minus,  Qt::Key_Home,   Qt::Key_End,  Qt::Key_Backspace};
        static constexpr Qt::KeyboardModifiers kModifiers[] = {{},
                                                               Qt::ControlModifier,
                                                               Qt::ControlModifier |
                                                                   Qt::ShiftModifier,
                                                               Qt::AltModifier,
                                                               Qt::ShiftModifier};
        const unsigned int choice = fnBelow(3);
        const Qt::Key key = choice == 0   ? fnPick(kKeys)
                            : choice == 1 ? static_cast<Qt::Key>(Qt::Key_A + fnBelow(26))
                                          : static_cast<Qt::Key>(Qt::Key_0 + fnBelow(10));
        QWidget* const focus = window.focusWidget();
        QTest::keyEvent(QTest::Click, focus ? focus : &window, key, fnPick(kModifiers));
    }

    /// A visible widget of the window, and a place in it.
    QWidget* fnAim(QWidget& window, QPoint& place) {
        place = {
            static_cast<int>(fnBelow(static_cast<unsigned int>(std::max(window.width(), 1)))),
            static_cast<int>(fnBelow(static_cast<unsigned int>(std::max(window.height(), 1))))};
        QWidget* const child = window.childAt(place);
        if (child)
            place = child->mapFrom(&window, place);
        return child ? child : &window;
    }

    Qt::MouseButton fnPickButton() { return fnBelow(6) == 0 ? Qt::RightButton : Qt::LeftButton; }

    void fnClick(QWidget& window) {
        QPoint place;
        const QPointer<QWidget> aim = fnAim(window, place);
        const Qt::MouseButton button = fnPickButton();
        if (fnBelow(8) == 0)
            QTest::mouseDClick(aim, button, {}, place);
        QTest::mousePress(aim, button, {}, place);
        if (aim)
            QTest::mouseRelease(aim, button, {}, place);
    }

    void fnDrag(QWidget& window) {
        QPoint from;
        const QPointer<QWidget> aim = fnAim(window, from);
        const Qt::MouseButton button = fnPickButton();
        static constexpr Qt::KeyboardModifiers kModifiers[] = {
            {}, Qt::ShiftModifier, Qt::AltModifier, Qt::ControlModifier};
        const Qt::KeyboardModifiers modifiers = fnPick(kModifiers);
        QTest::mousePress(aim, button, modifiers, from);
        QPoint place = from;
        for (unsigned int moves = fnBelow(5); moves > 0 && aim; --moves) {
            place = from + QPoint(static_cast<int>(fnBelow(401)) - 200,
                                  static_cast<int>(fnBelow(401)) - 200);
            QTest::mouseMove(aim, place);
        }
        if (aim)
            QTest::mouseRelease(aim, button, modifiers, place);
    }

    void fnTurnWheel(QWidget& window) {
        QPoint place;
        QWidget* const aim = fnAim(window, place);
        const int delta = fnBelow(2) == 0 ? 120 : -120;
        QWheelEvent wheel(place, aim->mapToGlobal(QPointF(place)), {}, {0, delta}, Qt::NoButton,
                          fnBelow(2) == 0 ? Qt::ControlModifier : Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        QApplication::sendEvent(aim, &wheel);
    }

    /// Never one outside of the test's folder.
    void fnChooseFile(QFileDialog& dialog) {
        static constexpr const char* kNames[] = {"random.png", "random.tif",  "other.bmp",
                                                 "new.jpg",    "missing.png", "sound.wav"};
        auto* const name = dialog.findChild<QLineEdit*>("fileNameEdit");
        if (!name || fnBelow(3) == 0)
            return dialog.reject();
        name->setText(m_Folder.filePath(fnPick(kNames)));
        const QPointer<QFileDialog> asked = &dialog;
        QMetaObject::invokeMethod(&dialog, "accept");
        if (asked && asked->isVisible())
            asked->reject();
    }

    QWidget& m_Window;
    const QDir m_Folder;
    std::mt19937 m_Random;
    std::function<bool()> m_IsOver;
    QEventLoop m_Loop;
    bool m_bActing = false;
    std::size_t m_nActs = 0;
    std::chrono::nanoseconds m_Last{};
    std::chrono::nanoseconds m_Longest{};
    Clock::time_point m_LastThere;
    Clock::duration m_LongestWait{};
};

using DarkroomRandom = DarkroomWindow;

} // namespace

TEST_F(DarkroomRandom, WhateverAUserDoesThePictureStaysWholeAndTheHistoryLeadsBack) {
    const int minutes = qEnvironmentVariableIntValue("Q32_RANDOM_MINUTES");
    const int seed = qEnvironmentVariableIntValue("Q32_RANDOM_SEED");
    constexpr std::size_t kFewActs = 3000;
    QDir::setCurrent(m_Folder.path()); // for paths that are typed
    fnMakePicture("other.bmp", 120, 90);
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("random.png", 300, 200)));
    // So that no dialog makes a picture of gigabytes.
    q32GetVMPolicy()->fnSetRamLimit(64 << 20);
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
        q32GetVMPolicy()->fnEnableDisk(i, false);

    std::set<QString> chosen;
    for (QAction* const action : m_pWindow->findChildren<QAction*>())
        QObject::connect(action, &QAction::triggered, action,
                         [&chosen, action] { chosen.insert(action->objectName()); });
    RandomUser user(*m_pWindow, QDir(m_Folder.path()), static_cast<unsigned int>(seed));
    const Clock::time_point end = Clock::now() + std::chrono::minutes(minutes);
    user.fnRun([&] { return minutes > 0 ? Clock::now() > end : user.fnCountActs() >= kFewActs; });
    std::printf("%zu acts, %zu menu entries, longest without an answer %d ms of work, %d in all\n",
                user.fnCountActs(), chosen.size(), static_cast<int>(user.fnGetLongest().count()),
                static_cast<int>(user.fnGetLongestWait().count()));
    EXPECT_TRUE(minutes == 0 || user.fnGetLongest() < std::chrono::seconds(2));

    EXPECT_FALSE(m_pWindow->fnIsBusy());
    darkroom::Document& document = m_pWindow->fnGetDocument();
    if (!document.fnHasImage())
        return;
    const Bytes now = fnBytesOf(document.fnGetImage());
    unsigned int steps = 0;
    for (; document.fnCanUndo(); ++steps)
        ASSERT_TRUE(document.fnUndo().fnIsDone());
    for (; steps > 0; --steps)
        ASSERT_TRUE(document.fnRedo().fnIsDone());
    EXPECT_EQ(fnBytesOf(document.fnGetImage()), now);
}
