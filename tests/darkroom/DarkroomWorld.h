/// @file
/// A darkroom's window on the library, in a folder of its own.
#pragma once

#include "examples/darkroom/ui/MainWindow.h"
#include "platforms/qt/CqQtWindows.h"
#include "q32Base/platform/CqKeyboardService.h"
#include "tests/platforms/qt/QtTestTools.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <QAction>
#include <QDialog>
#include <QString>
#include <QTemporaryDir>

/// The keyboard of a person who presses Esc during an operation: asked at each look for that key.
class ScriptedKeyboard : public CqKeyboardService {
public:
    explicit ScriptedKeyboard(const std::function<bool()>& isEscape) : m_IsEscape(isEscape) {}
    bool fnIsKeyDown(int) override { return m_IsEscape && m_IsEscape(); }
    bool fnIsKeyDownNow(int) override { return false; }
    bool fnTakeKeyMessage(CqKeyMessage&) override { return false; }

private:
    const std::function<bool()>& m_IsEscape;
};

class DarkroomWindow : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    /// Ends the window and the library, and starts both anew.
    void fnRestart();

    QString fnPath(const QString& name) const { return m_Folder.filePath(name); }
    /// A file of seeded noise with 24 bits.
    QString fnMakePicture(const QString& name, unsigned int width, unsigned int height) const;

    QAction& fnAction(const char* id) const;
    /// Triggers an action; the dialog that it opens is used meanwhile.
    void fnDo(const char* id, const std::function<void(QDialog&)>& use = {});
    /// Uses the dialog that opens next.
    static void fnInDialog(const std::function<void(QDialog&)>& use);
    static void fnAccept(QDialog& dialog);
    /// Types a file's name into a file dialog.
    static void fnType(QDialog& dialog, const QString& path);
    /// Presses a key in the window.
    void fnPress(Qt::Key key, Qt::KeyboardModifiers modifiers = {});

    QTemporaryDir m_Folder;
    std::function<bool()> m_IsEscape; ///< asked from within operations; empty: never pressed
    std::shared_ptr<CqQtWindows> m_pWindows;
    std::unique_ptr<darkroom::MainWindow> m_pWindow;
    std::unique_ptr<CqQtWnd> m_pFrame;

private:
    void fnStart();
    void fnStop();
};
