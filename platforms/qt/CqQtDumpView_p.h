#pragma once

#include "platforms/posix/CodePage_p.h"
#include "q32Base/platform/CqDumpView.h"

#include <functional>
#include <map>
#include <memory>
#include <QMainWindow>
#include <QPointer>
#include <string>

class QAction;
class QCloseEvent;
class QMenu;
class QPlainTextEdit;

namespace q32::qt {

/// The frame window of the dump view.
class DumpFrame final : public QMainWindow {
    Q_OBJECT

public:
    DumpFrame();

    std::function<void()> m_OnClose;

protected:
    void closeEvent(QCloseEvent* event) override;
};

} // namespace q32::qt

/// The dump window on the desktop: a tool window with its menu in a menu bar and, since Qt can't
/// change the system menu of window managers, on the right button. Its place is the top left corner
/// of the frame with the size without the frame, so that it can be restored: only the window
/// manager knows how thick a frame is. Places are in Qt's coordinates.
class CqQtDumpView final : public CqDumpView {
public:
    CqQtDumpView(const CqDumpViewSetup& setup, CqDumpViewEvents& events,
                 std::shared_ptr<const q32::posix::CodePage> codePage);
    ~CqQtDumpView() override;
    CqQtDumpView(const CqQtDumpView&) = delete;
    CqQtDumpView& operator=(const CqQtDumpView&) = delete;

    bool fnCreateText() override;
    bool fnCreateStatusBar() override;
    void fnSetFont(const CFont& font) override;
    void fnInsertMenuItem(const CqDumpMenuItem& item) override;
    void fnCheckMenuItem(UINT id, bool checked) override;
    void fnSetOnTop(bool onTop) override;
    void fnShow() override;
    RECT fnGetPlace() const override;
    void fnSetText(const char* text, std::size_t length) override;
    bool fnAppendText(const char* text, std::size_t length) override;
    std::string fnGetText() const override { return m_szText; }
    bool fnAskSaveName(const CqSaveRequest& request, std::string& path) override;

private:
    /// Converts the received bytes from `first` on for the widget, where lines end in a line feed
    /// alone, and notes whether the last character is incomplete.
    QString fnToLines(std::size_t first);
    bool fnIsAtEnd() const;
    void fnGoToEnd();

    CqDumpViewEvents& m_Events;
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
    QPointer<q32::qt::DumpFrame>
        m_pFrame; ///< deleted with this, once none of its events is being handled
    QPlainTextEdit* m_pText = nullptr;
    QMenu* m_pMenu = nullptr;
    QString m_IdlePrompt;
    std::map<UINT, QAction*> m_Items;
    std::string m_szText;          ///< the exact bytes received, for saving
    std::size_t m_nUnfinished = 0; ///< bytes at its end that begin a character
};
