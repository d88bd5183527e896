/// @file A darkroom window attached to the library, in its own folder.
#pragma once

#include "examples/darkroom/ui/MainWindow.h"
#include "platforms/headless/headless.h"
#include "platforms/qt/CqQtWindows.h"
#include "q32Base/platform/CqKeyboardService.h"
#include "tests/darkroom/DialogDriver.h"
#include "tests/platforms/qt/QtTestTools.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <QAction>
#include <QDialog>
#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QString>
#include <QTemporaryDir>
#include <string>
#include <vector>

/// The desktop's keyboard, with a hook that runs whenever an operation polls it.
class WatchedKeyboard : public CqKeyboardService {
public:
    WatchedKeyboard(std::shared_ptr<CqKeyboardService> keyboard,
                    const std::function<void()>& onLook)
        : m_pKeyboard(std::move(keyboard)), m_OnLook(onLook) {}
    bool fnIsKeyDown(int key) override {
        if (m_OnLook)
            m_OnLook();
        return m_pKeyboard->fnIsKeyDown(key);
    }
    bool fnIsKeyDownNow(int key) override { return m_pKeyboard->fnIsKeyDownNow(key); }
    bool fnTakeKeyMessage(CqKeyMessage& message) override {
        return m_pKeyboard->fnTakeKeyMessage(message);
    }

private:
    const std::shared_ptr<CqKeyboardService> m_pKeyboard;
    const std::function<void()>& m_OnLook;
};

/// Base of the window's tests: attaches the library, makes a window, and answers its dialogs.
class DarkroomWindow : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    /// Destroys the window, detaches the library, and starts both again.
    void fnRestart();

    QString fnPath(const QString& name) const { return m_Folder.filePath(name); }
    /// A file of seeded 24-bit noise; the name selects PNG, BMP or TIFF.
    QString fnMakePicture(const QString& name, unsigned int width, unsigned int height) const;

    QAction& fnAction(const char* id) const;
    /// Triggers an action; `use` operates the dialog that it opens.
    void fnDo(const char* id, const std::function<void(QDialog&)>& use = {});
    /// Operates the dialog that opens next.
    void fnInDialog(const std::function<void(QDialog&)>& use);
    static void fnAccept(QDialog& dialog);
    /// Accepts the next dialog as it is, such as that of the options of a format.
    void fnAcceptNext();
    /// Types a file's name into a file dialog.
    static void fnType(QDialog& dialog, const QString& path);
    /// Presses a key in the window.
    void fnPress(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    /// Queues a key event, as the window system does.
    void fnPostKey(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    /// Presses a key while a task is running, and returns when the task's next poll will report it:
    /// the keyboard doesn't query the window system each time.
    /// @param code  the library's for the same key
    void fnHoldKey(Qt::Key key, int code);
    void fnReleaseKey(Qt::Key key);
    /// Answers the next question.
    /// @param before  runs while the question is open
    void fnAnswer(QMessageBox::StandardButton button, const std::function<void()>& before = {});
    /// Drags with the left button from one position of the view to another.
    void fnDrag(const QPoint& from, const QPoint& to, Qt::KeyboardModifiers modifiers = {});
    /// Drops something on the window, if it accepts it; `isAccepted` of the event says so.
    std::unique_ptr<QDropEvent> fnDrop(const QMimeData& data);
    /// Texts of the library's message boxes since the last call.
    std::vector<std::string> fnTakeBoxes();
    /// Makes the mixers' descriptor readable, as they do when they have changed.
    void fnNotifyMixers() const;

    QTemporaryDir m_Folder;
    std::function<void()> m_OnLook;              ///< runs inside operations
    std::shared_ptr<CqHeadlessWorld> m_pMachine; ///< its sound device and mixer
    std::shared_ptr<CqQtWindows> m_pWindows;
    std::unique_ptr<darkroom::MainWindow> m_pWindow;
    std::unique_ptr<CqQtWnd> m_pFrame;
    int m_nPumps = 0; ///< how often the window has pumped the mixers' messages

private:
    void fnStart();
    void fnStop();

    void fnPost(QEvent::Type type, Qt::Key key, Qt::KeyboardModifiers modifiers);

    DialogDriver m_Dialogs;
    std::shared_ptr<CqKeyboardService> m_pKeyboard; ///< the desktop's own, without the hook
    int m_nMixerDescriptor = -1;
};
