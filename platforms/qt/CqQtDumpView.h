#pragma once

#include "platforms/posix/CodePage.h"
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

/// The frame of the dump window.
class DumpFrame final : public QMainWindow {
    Q_OBJECT

public:
    DumpFrame();

    std::function<void()> m_OnClose;

protected:
    void closeEvent(QCloseEvent* event) override;
};

/// The dump window on the desktop: a tool window with its menu in a menu bar, and on the right
/// button, since Qt can't change the menu that window managers show. Its place is the corner of the
/// frame and the size without it, so that what is remembered comes back: how thick a frame is, only
/// the window manager knows. Places are in Qt's coordinates.
class CqQtDumpView final : public CqDumpView {
public:
    CqQtDumpView(const CqDumpViewSetup& setup, CqDumpViewEvents& events,
                 std::shared_ptr<const posix::CodePage> codePage);
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
    /// A text as the widget takes it: lines end in a line feed alone.
    QString fnToLines(const char* text, std::size_t length) const;
    bool fnIsAtEnd() const;
    void fnGoToEnd();

    CqDumpViewEvents& m_Events;
    std::shared_ptr<const posix::CodePage> m_pCodePage;
    QPointer<DumpFrame> m_pFrame; ///< goes with this, once no event of it is under way
    QPlainTextEdit* m_pText = nullptr;
    QMenu* m_pMenu = nullptr;
    QString m_IdlePrompt;
    std::map<UINT, QAction*> m_Items;
    std::string m_szText; ///< exactly as it came, for saving
};

} // namespace q32::qt
