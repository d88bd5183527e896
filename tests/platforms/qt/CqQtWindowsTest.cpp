#include "q32Base/services/CqDumpBin.h"
#include "q32Base/services/CqProgressDisplay.h"
#include "q32Base/services/CqUndoMngr.h"
#include "tests/platforms/qt/QtTestTools.h"
#include "tests/platforms/qt/QtWorld.h"

#include <algorithm>
#include <cstdlib>
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <vector>

namespace {

class QtWindows : public QtWorld {};

TEST_F(QtWindows, TheGaugeIsPaintedOnTheStatusBarWithoutTheEventLoop) {
    QMainWindow window;
    window.resize(500, 120);
    window.statusBar()->showMessage("Ready");
    ASSERT_TRUE(fnShow(window));
    CqQtWnd bar(window.statusBar());
    CqQtWnd frame(&window);
    frame.fnSetMessageBar(&bar);
    m_pWindows->fnSetMainWnd(&frame);
    CqQtCanvas* over = bar.fnGetCanvas();
    EXPECT_TRUE(over->isHidden());
    {
        CqProgressDisplay progress;
        bool aborted = true;
        progress.fnDrawStatus(60, &aborted);
        EXPECT_FALSE(aborted);
        EXPECT_TRUE(over->isVisible());
        const QRgb face = window.palette().color(QPalette::Button).rgb();
        const QImage pixels = over->fnGetPixels();
        int inverted = 0;
        for (int x = 0; x < pixels.width(); ++x)
            inverted += pixels.pixel(x, pixels.height() / 2) == (face ^ 0x00FFFFFFu) ? 1 : 0;
        EXPECT_GT(inverted, pixels.width() / 4);
        EXPECT_LT(inverted, pixels.width() * 7 / 10);
    }
    EXPECT_TRUE(over->isHidden()); // the bar shows its own text again
    m_pWindows->fnSetMainWnd(nullptr);
}

TEST_F(QtWindows, TheGaugeIsReadableInEveryPalette) {
    fnInBothPalettes([&](const QString& name) {
        QMainWindow window;
        window.resize(500, 160);
        QToolBar& tools = *window.addToolBar("Edit");
        tools.addAction("Undo");
        tools.addAction("Redo")->setEnabled(false);
        QProgressBar progressBar;
        CqQtProgressCtrl control(&progressBar);
        window.setCentralWidget(&progressBar);
        CqQtWnd bar(window.statusBar());
        ASSERT_TRUE(fnShow(window));
        CqQtWnd frame(&window);
        frame.fnSetMessageBar(&bar);
        m_pWindows->fnSetMainWnd(&frame);
        CqProgressDisplay gauge;
        bool aborted = false;
        gauge.fnDrawStatus(40, &aborted);
        CqProgressDisplay inControl(&control);
        inControl.fnDrawStatus(40, nullptr);
        // The letters differ from the background on both sides of the bar's end.
        const QImage& pixels = bar.fnGetCanvas()->fnGetPixels();
        const int ground = qGray(window.palette().color(QPalette::Button).rgb());
        int least = 255;
        int most = 0;
        for (int y = 0; y < pixels.height(); ++y)
            for (int x = 0; x < pixels.width(); ++x) {
                least = std::min(least, qGray(pixels.pixel(x, y)));
                most = std::max(most, qGray(pixels.pixel(x, y)));
            }
        EXPECT_GT(std::max(ground - least, most - ground), 100);
        EXPECT_EQ(pixels.width(), CqQtCanvas::fnGetPixelSize(window).width());
        fnKeepPicture(window, "gauge" + name);
        m_pWindows->fnSetMainWnd(nullptr);
        window.takeCentralWidget();
    });
}

TEST_F(QtWindows, AProgressBarFollowsTheOperation) {
    QProgressBar bar;
    CqQtProgressCtrl control(&bar);
    CqProgressDisplay progress(&control);
    EXPECT_EQ(bar.minimum(), 0);
    EXPECT_EQ(bar.maximum(), 100);
    progress.fnDrawStatus(37, nullptr);
    EXPECT_EQ(bar.value(), 37);
}

TEST_F(QtWindows, UndoKeepsActionsAndTheTitlesMarkInStep) {
    QMainWindow window;
    window.setWindowTitle("sea.bmp[*]");
    QToolBar& bar = *window.addToolBar("Edit");
    QAction* undo = bar.addAction("Undo");
    QAction* redo = bar.addAction("Redo");
    CqQtToolBar tools(&bar);
    tools.fnAdd(ID_EDIT_UNDO, undo);
    tools.fnAdd(ID_EDIT_REDO, redo);
    CqQtDocument document(&window);
    CqUndoMngr manager;
    ASSERT_TRUE(manager.fnCreate(&document, 3, &tools));
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_FALSE(redo->isEnabled());
    class Snapshot : public CObject {};
    manager.fnAddUndoBuf(new Snapshot, 1);
    document.SetModifiedFlag(true);
    EXPECT_TRUE(undo->isEnabled());
    EXPECT_TRUE(window.isWindowModified());
    EXPECT_EQ(document.IsModified(), 1);
    delete manager.fnUndo(new Snapshot, 2, nullptr);
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_TRUE(redo->isEnabled());
    EXPECT_FALSE(window.isWindowModified());
    QAction item;
    CqQtCmdUI command(ID_EDIT_UNDO, &item);
    manager.fnUpdateMenu(&command);
    EXPECT_FALSE(item.isEnabled());
    EXPECT_EQ(tools.SendMessage(TB_ENABLEBUTTON, 4711, 1), 0);
}

TEST_F(QtWindows, DestroyedPartsAreNotUsed) {
    auto* bar = new QToolBar;
    auto* window = new QWidget;
    auto* progress = new QProgressBar;
    CqQtToolBar tools(bar);
    CqQtDocument document(window);
    CqQtProgressCtrl control(progress);
    CqQtCmdUI command(1, nullptr);
    delete bar;
    delete window;
    delete progress;
    EXPECT_FALSE(tools.IsWindow());
    EXPECT_EQ(tools.SendMessage(TB_ENABLEBUTTON, 1, 1), 0);
    EXPECT_EQ(document.IsModified(), 0);
    document.SetModifiedFlag(true);
    control.SendMessage(PBM_SETPOS, 5, 0);
    command.Enable(true);
}

class QtDump : public QtWorld {
protected:
    static QMainWindow* fnFindWindow() {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->windowTitle() == "Dump Window" && widget->isVisible() &&
                qobject_cast<QMainWindow*>(widget))
                return qobject_cast<QMainWindow*>(widget);
        return nullptr;
    }
    static QList<QAction*> fnMenu(QMainWindow& window) {
        return window.menuBar()->actions().at(0)->menu()->actions();
    }
    /// Waits for a save dialog and answers it with a name.
    void fnAnswerSave(const QString& name) {
        QObject::connect(&m_Timer, &QTimer::timeout, [this, name] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            m_Timer.stop();
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(name);
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        });
        m_Timer.start(20);
    }
    QTimer m_Timer;
};

TEST_F(QtDump, ShowsTextThatGrowsAndItsMenu) {
    ASSERT_TRUE(q32CreateDumpWnd());
    QMainWindow* window = fnFindWindow();
    ASSERT_NE(window, nullptr);
    CqDumpBin dump;
    unsigned char bytes[20] = {1, 2, 0xAB};
    dump << "first line\nsecond " << 12 << "\n";
    dump.fnHexDump("", bytes, 20, 8);
    const auto* text = window->findChild<QPlainTextEdit*>();
    EXPECT_TRUE(text->isReadOnly());
    EXPECT_TRUE(text->toPlainText().startsWith("first line\nsecond 12\n 01 02 AB"));
    const QList<QAction*> menu = fnMenu(*window);
    ASSERT_EQ(menu.size(), 3);
    EXPECT_EQ(menu[0]->text(), "Sa&ve...");
    EXPECT_EQ(menu[1]->text(), "Al&ways On Top");
    EXPECT_TRUE(menu[1]->isChecked());
    EXPECT_TRUE(menu[2]->isSeparator());
    EXPECT_EQ(menu[0]->statusTip(), "Save the content of this window");
    EXPECT_TRUE(window->windowFlags() & Qt::WindowStaysOnTopHint);
    ASSERT_TRUE(fnShow(*window));
    dump.fnClear();
    EXPECT_TRUE(text->toPlainText().isEmpty());
    q32DestroyDumpWnd();
    EXPECT_EQ(fnFindWindow(), nullptr);
}

TEST_F(QtDump, ACharacterThatComesInPartsIsShownWhole) {
    q32Detach();
    CqQtOptions options = fnOptions();
    options.m_Posix.m_szLocale = "C.UTF-8";
    fnAttach(options);
    ASSERT_TRUE(q32CreateDumpWnd());
    const auto* text = fnFindWindow()->findChild<QPlainTextEdit*>();
    const QChar broken(0xFFFD);
    {
        CqDumpBin dump;
        for (const char byte : std::string("a\xC3\xA4\xE2\x82\xAC\n\xF0\x9F\x8E\xA8.")) {
            const char part[2] = {byte, 0};
            dump << part;
        }
        EXPECT_EQ(text->toPlainText(), QString::fromUtf8("a\u00E4\u20AC\n\U0001F3A8."));
        dump << "\xE2\x82"; // begun, and never completed
        EXPECT_TRUE(text->toPlainText().endsWith(QString(2, broken)));
        dump << "x\xE2"
             << "\x82";
        EXPECT_TRUE(text->toPlainText().endsWith(QString(2, broken) + 'x' + QString(2, broken)));
        dump << "\xAC!";
        EXPECT_TRUE(text->toPlainText().endsWith(QString(2, broken) + 'x' + QChar(0x20AC) + '!'));
    }
    {
        CqDumpBin other; // replaces the text, which ends in a part again
        other << "\xC3";
        other << "\xA4";
        EXPECT_EQ(text->toPlainText(), QString(QChar(0xE4)));
        other.fnClear();
        other << "b";
        EXPECT_EQ(text->toPlainText(), "b");
    }
    q32DestroyDumpWnd();
}

TEST_F(QtDump, IsReadableInEveryPalette) {
    fnInBothPalettes([&](const QString& name) {
        ASSERT_TRUE(q32CreateDumpWnd());
        QMainWindow* window = fnFindWindow();
        ASSERT_NE(window, nullptr);
        ASSERT_TRUE(fnShow(*window));
        CqDumpBin dump;
        std::vector<unsigned char> bytes(300, 0x5A);
        dump << "tile 17: 128 x 128, " << 1.5 << " MB, " << 255u << "\n";
        dump.fnHexDump("", bytes.data(), static_cast<int>(bytes.size()), 16);
        QMenu* menu = window->menuBar()->actions().at(0)->menu();
        menu->popup(window->mapToGlobal(QPoint(20, 30)));
        fnKeepPicture(*menu, "dump-menu" + name);
        menu->close();
        fnKeepPicture(*window, "dump" + name);
        const auto* text = window->findChild<QPlainTextEdit*>();
        EXPECT_GT(std::abs(qGray(text->palette().color(QPalette::Text).rgb()) -
                           qGray(text->palette().color(QPalette::Base).rgb())),
                  100);
        q32DestroyDumpWnd();
    });
}

TEST_F(QtDump, APromptIsInTheStatusBarWhileItsItemIsHighlighted) {
    ASSERT_TRUE(q32CreateDumpWnd());
    QMainWindow* window = fnFindWindow();
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(fnShow(*window));
    QMenu* menu = window->menuBar()->actions().at(0)->menu();
    menu->popup(window->mapToGlobal(QPoint(20, 30)));
    menu->setActiveAction(fnMenu(*window)[1]);
    EXPECT_EQ(window->statusBar()->currentMessage(), "Places the window above all other windows");
    menu->close();
    q32DestroyDumpWnd();
}

TEST_F(QtDump, ItIsNoLargerThanAnyScreenAndReachable) {
    // A position far off any screen, with a size larger than any screen.
    QFile file(m_Folder.path() + "/Qkz.cfg");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[DumpWnd]\r\nLayout=900000,900000,2000000,2000000\r\nOnTop=0\r\n");
    file.close();
    ASSERT_TRUE(q32CreateDumpWnd());
    QMainWindow* window = fnFindWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(QGuiApplication::screenAt(window->pos()));
    const QRect room = window->screen()->availableVirtualGeometry();
    EXPECT_LE(window->width(), room.width());
    EXPECT_LE(window->height(), room.height());
    EXPECT_FALSE(window->windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_FALSE(fnMenu(*window)[1]->isChecked());
    q32DestroyDumpWnd();
}

TEST_F(QtDump, TheOnTopSwitchNeitherMovesNorHidesTheWindow) {
    ASSERT_TRUE(q32CreateDumpWnd());
    QMainWindow* window = fnFindWindow();
    ASSERT_NE(window, nullptr);
    const QSize size = window->size();
    fnMenu(*window)[1]->trigger();
    EXPECT_FALSE(fnMenu(*window)[1]->isChecked());
    EXPECT_FALSE(window->windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->size(), size);
    fnMenu(*window)[1]->trigger();
    EXPECT_TRUE(fnMenu(*window)[1]->isChecked());
    q32DestroyDumpWnd();
}

TEST_F(QtDump, ItsPlaceIsRememberedWhenTheUserClosesIt) {
    ASSERT_TRUE(q32CreateDumpWnd());
    QMainWindow* window = fnFindWindow();
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(fnShow(*window));
    window->resize(333, 222);
    ASSERT_TRUE(fnWaitFor([&] { return window->size() == QSize(333, 222); }));
    window->close();
    EXPECT_EQ(fnFindWindow(), nullptr);
    ASSERT_TRUE(q32CreateDumpWnd());
    window = fnFindWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->size(), QSize(333, 222));
    q32DestroyDumpWnd();
}

TEST_F(QtDump, TheTextIsSavedUnderTheChosenName) {
    ASSERT_TRUE(q32CreateDumpWnd());
    CqDumpBin dump;
    dump << "kept\n";
    const QString name = m_Folder.path() + "/dump";
    fnAnswerSave(name);
    fnMenu(*fnFindWindow())[0]->trigger();
    QFile file(name + ".txt");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("kept\r\n"));
    q32DestroyDumpWnd();
}

TEST_F(QtDump, DetachingTheLibraryClosesTheWindow) {
    ASSERT_TRUE(q32CreateDumpWnd());
    q32Detach();
    EXPECT_EQ(fnFindWindow(), nullptr);
    ASSERT_NO_FATAL_FAILURE(fnAttach(fnOptions()));
}

} // namespace
