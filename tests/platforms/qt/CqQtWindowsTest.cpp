#include "q32Base/services/CqDumpBin.h"
#include "q32Base/services/CqProgressDisplay.h"
#include "q32Base/services/CqUndoMngr.h"
#include "tests/platforms/qt/QtTestTools.h"
#include "tests/platforms/qt/QtWorld.h"

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
#include <QStatusBar>
#include <QTimer>

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
        fnKeepPicture(window, "gauge");
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

TEST_F(QtWindows, WhatHasGoneIsLeftAlone) {
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
    fnKeepPicture(*window, "dump");
    dump.fnClear();
    EXPECT_TRUE(text->toPlainText().isEmpty());
    q32DestroyDumpWnd();
    EXPECT_EQ(fnFindWindow(), nullptr);
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

TEST_F(QtDump, TheStopOfTheLibraryTakesTheWindowWithIt) {
    ASSERT_TRUE(q32CreateDumpWnd());
    q32Detach();
    EXPECT_EQ(fnFindWindow(), nullptr);
    ASSERT_NO_FATAL_FAILURE(fnAttach(fnOptions()));
}

} // namespace
