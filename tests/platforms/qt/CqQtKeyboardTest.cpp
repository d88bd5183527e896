#include "q32Base/services/CqProgressDisplay.h"
#include "tests/platforms/qt/QtTestTools.h"
#include "tests/platforms/qt/QtWorld.h"

#include <functional>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QMouseEvent>
#include <QTimer>
#include <string>
#include <vector>

namespace {

/// Records the events that reach it.
class Recorder : public QWidget {
public:
    std::vector<std::string> m_Seen;
    std::function<void()> m_OnPress;

protected:
    void keyPressEvent(QKeyEvent*) override { m_Seen.push_back("key"); }
    void mousePressEvent(QMouseEvent* event) override {
        m_Seen.push_back("press " + std::to_string(event->position().toPoint().x()));
        if (m_OnPress)
            m_OnPress();
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        m_Seen.push_back("release " + std::to_string(event->position().toPoint().x()));
    }
    void closeEvent(QCloseEvent* event) override {
        m_Seen.push_back("close");
        event->ignore();
    }
};

class QtKeyboard : public QtWorld {
protected:
    void SetUp() override {
        QtWorld::SetUp();
        m_Window.resize(200, 150);
        ASSERT_TRUE(fnShow(m_Window));
        fnWaitFor([&] { // the window manager may not be done yet
            m_Window.activateWindow();
            return m_Window.isActiveWindow();
        });
    }

    /// Queues an event at the window, as the window system does.
    void fnPost(QEvent* event) { QCoreApplication::postEvent(m_Window.windowHandle(), event); }
    void fnPostKey(QEvent::Type type, int key) { fnPost(new QKeyEvent(type, key, Qt::NoModifier)); }
    void fnPostClick(int x) {
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            fnPost(new QMouseEvent(
                type, QPointF(x, 5), m_Window.mapToGlobal(QPointF(x, 5)), Qt::LeftButton,
                type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier));
    }
    /// Polls, as an operation does, until the answer is yes.
    template <typename Question>
    static bool fnAskFor(Question&& question, int polls = 2000000) {
        for (; polls > 0; --polls)
            if (question())
                return true;
        return false;
    }
    bool fnSeesEsc(int polls = 2000000) {
        const CqProgressDisplay progress(false);
        return fnAskFor([&] { return progress.fnIsAborted(); }, polls);
    }

    /// Waits until the event loop has delivered what is queued now.
    static void fnLetEventsHappen() {
        bool back = false;
        QTimer::singleShot(1, [&] { back = true; });
        ASSERT_TRUE(fnWaitFor([&] { return back; }));
    }
    /// What Qt reports when a window gets the focus; null for one of another program.
    static void fnReportFocus(QWidget* window) {
        if (window)
            window->winId(); // creates the window without showing it
        Q_EMIT qApp->focusWindowChanged(window ? window->windowHandle() : nullptr);
    }
    static void fnPressIn(QWidget& window) {
        fnReportFocus(&window);
        QCoreApplication::postEvent(
            window.windowHandle(), new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier));
        fnLetEventsHappen();
    }
    /// Paints windows without input, as a host does before it begins an operation.
    static void fnLetAllButInputHappen() {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                        QEventLoop::ExcludeSocketNotifiers |
                                        QEventLoop::X11ExcludeTimers);
    }
    /// Polls, as an operation does, until the queue, which isn't read at each poll, is empty.
    void fnLook() {
        fnPostKey(QEvent::KeyPress, Qt::Key_A);
        CqKeyMessage message;
        EXPECT_TRUE(fnAskFor([&] { return fnKeyboard().fnTakeKeyMessage(message); }));
    }

    CqKeyboardService& fnKeyboard() { return *m_Platform.m_pKeyboard; }
    Recorder m_Window;
};

TEST_F(QtKeyboard, EscIsSeenInsideAnOperation) {
    EXPECT_FALSE(fnSeesEsc(1));
    fnPostKey(QEvent::KeyPress, Qt::Key_Escape);
    EXPECT_TRUE(fnSeesEsc());
}

TEST_F(QtKeyboard, ATapOfEscIsSeenThoughTheKeyIsUpAgain) {
    fnPostKey(QEvent::KeyPress, Qt::Key_Escape);
    fnPostKey(QEvent::KeyRelease, Qt::Key_Escape);
    EXPECT_TRUE(fnSeesEsc());
    EXPECT_FALSE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
}

TEST_F(QtKeyboard, EscIsSeenThoughAnActionOwnsIt) {
    QAction action;
    action.setShortcut(Qt::Key_Escape);
    m_Window.addAction(&action);
    int triggered = 0;
    QObject::connect(&action, &QAction::triggered, [&] { ++triggered; });
    fnPostKey(QEvent::KeyPress, Qt::Key_Escape);
    EXPECT_TRUE(fnSeesEsc());
    QCoreApplication::processEvents();
    EXPECT_EQ(triggered, 0);
}

TEST_F(QtKeyboard, KeysAreDiscardedAndTheMouseArrivesAfterwardsInOrder) {
    fnPostClick(10);
    fnPostKey(QEvent::KeyPress, Qt::Key_A);
    fnPostClick(20);
    fnPostKey(QEvent::KeyPress, Qt::Key_Escape);
    fnPostClick(30);
    EXPECT_TRUE(fnSeesEsc());
    EXPECT_TRUE(m_Window.m_Seen.empty());
    fnPostClick(40); // newer than the waiting one
    EXPECT_TRUE(fnWaitFor([&] { return m_Window.m_Seen.size() >= 8; }));
    EXPECT_EQ(m_Window.m_Seen,
              (std::vector<std::string>{"press 10", "release 10", "press 20", "release 20",
                                        "press 30", "release 30", "press 40", "release 40"}));
}

TEST_F(QtKeyboard, AWaitingClickStaysWhereTheHostLetsNoInputThrough) {
    fnPostClick(10);
    EXPECT_FALSE(fnSeesEsc(1));
    // As before the host's next operation.
    m_Window.windowHandle()->resize(260, 210);
    fnPost(new QExposeEvent(QRegion(0, 0, 260, 210)));
    const bool resized = fnAskFor(
        [&] {
            fnLetAllButInputHappen();
            return m_Window.size() == QSize(260, 210);
        },
        200000);
    EXPECT_TRUE(resized) << "the window state is reported all the same";
    EXPECT_TRUE(m_Window.m_Seen.empty());
    fnPostClick(20);
    fnLook();
    EXPECT_TRUE(m_Window.m_Seen.empty());
    EXPECT_TRUE(fnWaitFor([&] { return m_Window.m_Seen.size() >= 4; }));
    EXPECT_EQ(m_Window.m_Seen,
              (std::vector<std::string>{"press 10", "release 10", "press 20", "release 20"}));
}

TEST_F(QtKeyboard, AClickThatStartsAnOperationIsFollowedByTheOthersAfterIt) {
    m_Window.m_OnPress = [this] {
        if (m_Window.m_Seen.size() > 1)
            return;
        fnPost(new QExposeEvent(QRegion(0, 0, 10, 10)));
        fnLetAllButInputHappen();
        fnPostClick(30);
        fnLook();
        m_Window.m_Seen.push_back("worked");
    };
    fnPostClick(10);
    fnPostClick(20);
    EXPECT_FALSE(fnSeesEsc(1));
    EXPECT_TRUE(fnWaitFor([&] { return m_Window.m_Seen.size() >= 7; }));
    EXPECT_EQ(m_Window.m_Seen,
              (std::vector<std::string>{"press 10", "worked", "release 10", "press 20",
                                        "release 20", "press 30", "release 30"}));
}

TEST_F(QtKeyboard, AWaitingClickStaysWhereTheProgramClosesAnotherWindow) {
    Recorder other;
    ASSERT_TRUE(fnShow(other));
    fnPostClick(10);
    EXPECT_FALSE(fnSeesEsc(1));
    other.close();
    EXPECT_EQ(other.m_Seen, std::vector<std::string>{"close"});
    EXPECT_TRUE(m_Window.m_Seen.empty());
    // But its own window receives the click first.
    m_Window.close();
    EXPECT_EQ(m_Window.m_Seen, (std::vector<std::string>{"press 10", "release 10", "close"}));
}

TEST_F(QtKeyboard, AWaitingClickMayDestroyTheBackEnd) {
    m_Window.m_OnPress = [this] {
        q32Detach();
        m_Platform = {};
    };
    fnPostClick(10);
    EXPECT_FALSE(fnSeesEsc(1));
    EXPECT_TRUE(fnWaitFor([&] { return !m_Window.m_Seen.empty(); }));
    EXPECT_EQ(m_Window.m_Seen.front(), "press 10");
    fnAttach(fnOptions());
    EXPECT_FALSE(fnSeesEsc(1));
}

TEST_F(QtKeyboard, WaitingInputDoesNotReachAWindowBehindABox) {
    fnPostClick(10);
    EXPECT_FALSE(fnSeesEsc(1));
    QTimer timer;
    int looks = 0;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        QWidget* box = QApplication::activeModalWidget();
        if (box && ++looks > 3)
            box->close();
    });
    timer.start(5);
    m_Platform.m_pMessages->fnShowBox("stopped", MB_OK, "t");
    EXPECT_GT(looks, 3);
    EXPECT_TRUE(m_Window.m_Seen.empty());
}

TEST_F(QtKeyboard, AResizeAndARepaintArriveAfterTheOperation) {
    int paints = 0;
    class Painted : public QWidget {
    public:
        explicit Painted(int& paints) : m_nPaints(paints) {}

    protected:
        void paintEvent(QPaintEvent*) override { ++m_nPaints; }

    private:
        int& m_nPaints;
    } window(paints);
    window.resize(100, 100);
    ASSERT_TRUE(fnShow(window));
    ASSERT_TRUE(fnWaitFor([&] { return paints > 0; }));
    EXPECT_FALSE(fnSeesEsc(1));
    paints = 0;
    window.windowHandle()->resize(150, 140);
    window.update();
    for (int i = 0; i < 20000; ++i)
        fnSeesEsc(1);
    EXPECT_EQ(paints, 0);
    EXPECT_TRUE(fnWaitFor([&] { return window.size() == QSize(150, 140) && paints > 0; }));
}

TEST_F(QtKeyboard, AHeldKeyThatRepeatsCountsOnceUntilItIsReleased) {
    for (int i = 0; i < 5; ++i)
        fnPost(new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier, QString(), i > 0));
    EXPECT_TRUE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
    CqKeyMessage message;
    ASSERT_TRUE(fnKeyboard().fnTakeKeyMessage(message));
    EXPECT_EQ(message.m_wParam, static_cast<WPARAM>(VK_ESCAPE));
    EXPECT_FALSE(fnKeyboard().fnTakeKeyMessage(message));
}

TEST_F(QtKeyboard, ACloseWaitsForTheEndOfTheOperation) {
    fnPost(new QEvent(QEvent::Close));
    CqKeyMessage message;
    EXPECT_FALSE(fnKeyboard().fnTakeKeyMessage(message));
    EXPECT_TRUE(m_Window.m_Seen.empty());
    EXPECT_TRUE(m_Window.isVisible());
}

TEST_F(QtKeyboard, NeitherTimersNorRepaintsHappenInsideAnOperation) {
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(0);
    m_Window.update();
    EXPECT_FALSE(fnSeesEsc(1));
    EXPECT_EQ(ticks, 0);
    EXPECT_TRUE(fnWaitFor([&] { return ticks > 0; }));
}

TEST_F(QtKeyboard, ADialogThatAQueuedCallShowsInsideAnOperationCanBeAnswered) {
    QMessageBox box(QMessageBox::NoIcon, "t", "stopped", QMessageBox::Ok);
    bool stopped = false; // an operation started by the dialog
    const auto post = [](QWidget& window, int key) {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
            QCoreApplication::postEvent(window.windowHandle(),
                                        new QKeyEvent(type, key, Qt::NoModifier));
    };
    QObject::connect(&box, &QDialog::accepted, [&] {
        post(box, Qt::Key_Escape);
        stopped = fnSeesEsc();
    });
    QTimer patience;
    QObject::connect(&patience, &QTimer::timeout, [&] { box.done(-1); });
    const auto show = [&] {
        QTimer::singleShot(0, &box, [&] { post(box, Qt::Key_Return); });
        patience.start(5000);
        box.exec();
    };
    QMetaObject::invokeMethod(&m_Window, show, Qt::QueuedConnection);
    fnPostClick(10);
    EXPECT_FALSE(fnSeesEsc(1));
    EXPECT_EQ(box.result(), QMessageBox::Ok);
    EXPECT_TRUE(stopped);
}

TEST_F(QtKeyboard, KeyMessagesComeOldestFirstWithTheirNumbers) {
    fnPostKey(QEvent::KeyPress, Qt::Key_B);
    fnPostKey(QEvent::KeyRelease, Qt::Key_B);
    fnPostKey(QEvent::KeyPress, Qt::Key_Left);
    CqKeyMessage message;
    ASSERT_TRUE(fnKeyboard().fnTakeKeyMessage(message));
    EXPECT_EQ(message.m_nMessage, WM_KEYDOWN);
    EXPECT_EQ(message.m_wParam, static_cast<WPARAM>('B'));
    ASSERT_TRUE(fnKeyboard().fnTakeKeyMessage(message));
    EXPECT_EQ(message.m_nMessage, WM_KEYUP);
    ASSERT_TRUE(fnKeyboard().fnTakeKeyMessage(message));
    EXPECT_EQ(message.m_wParam, WPARAM{37});
    EXPECT_FALSE(fnKeyboard().fnTakeKeyMessage(message));
    EXPECT_TRUE(fnKeyboard().fnIsKeyDownNow(37));
}

TEST_F(QtKeyboard, EscHeldBeforeTheOperationAbortsItUntilReleased) {
    // A shortcut key arrives only as a query whether a window accepts it.
    for (const auto press : {QEvent::KeyPress, QEvent::ShortcutOverride}) {
        fnPostKey(press, Qt::Key_Escape);
        fnLetEventsHappen();
        EXPECT_TRUE(fnSeesEsc(1));
        fnLetEventsHappen();
        EXPECT_TRUE(fnSeesEsc(1));
        fnPost(new QKeyEvent(QEvent::KeyRelease, Qt::Key_Escape, Qt::NoModifier, QString(), true));
        fnLetEventsHappen();
        EXPECT_TRUE(fnSeesEsc(1)) << "it repeats";
        fnPostKey(QEvent::KeyRelease, Qt::Key_Escape);
        fnLetEventsHappen();
        EXPECT_FALSE(fnSeesEsc(1));
    }
}

TEST_F(QtKeyboard, AKeyIsNoLongerDownOnceADialogOpens) {
    fnPostKey(QEvent::KeyPress, Qt::Key_Escape);
    fnLetEventsHappen();
    EXPECT_TRUE(fnSeesEsc(1));
    QDialog dialog(&m_Window);
    dialog.open();
    fnLetEventsHappen(); // the release would get lost
    dialog.done(0);
    fnLetEventsHappen();
    EXPECT_FALSE(fnSeesEsc(1));
}

TEST_F(QtKeyboard, EscStillDownAfterAnOperationAbortsTheNextOne) {
    fnPostKey(QEvent::KeyPress, Qt::Key_Escape);
    EXPECT_TRUE(fnSeesEsc());
    fnLetEventsHappen();
    EXPECT_TRUE(fnSeesEsc(1));
    fnPostKey(QEvent::KeyRelease, Qt::Key_Escape);
    fnLetEventsHappen();
    EXPECT_FALSE(fnSeesEsc(1));
}

TEST_F(QtKeyboard, AKeyIsNoLongerDownOnceAnotherProgramHasTheFocus) {
    fnPressIn(m_Window);
    EXPECT_TRUE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
    fnReportFocus(nullptr);
    EXPECT_FALSE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
    fnReportFocus(&m_Window);
    EXPECT_FALSE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
}

TEST_F(QtKeyboard, AKeyIsNoLongerDownOnceItsWindowHasGone) {
    {
        QWidget dialog;
        fnPressIn(dialog);
        EXPECT_TRUE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
    }
    fnReportFocus(&m_Window);
    EXPECT_FALSE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
}

TEST_F(QtKeyboard, AKeyReleasedInAnotherWindowOfTheProgramIsDownUntilThen) {
    QWidget other;
    fnPressIn(m_Window);
    fnReportFocus(&other);
    EXPECT_TRUE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
    QCoreApplication::postEvent(other.windowHandle(),
                                new QKeyEvent(QEvent::KeyRelease, Qt::Key_Escape, Qt::NoModifier));
    fnLetEventsHappen();
    EXPECT_FALSE(fnKeyboard().fnIsKeyDown(VK_ESCAPE));
}

TEST_F(QtKeyboard, AfterAnOperationKeysGoToTheirWindowsAgain) {
    EXPECT_FALSE(fnSeesEsc(1));
    fnWaitFor([&] {
        fnPostKey(QEvent::KeyPress, Qt::Key_A);
        return !m_Window.m_Seen.empty();
    });
    EXPECT_EQ(m_Window.m_Seen.front(), "key");
}

} // namespace
