#pragma once

#include "q32Base/framework/CFont.h"
#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/CqDumpView.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// The window that shows dump streams, on top of the back end's view. There is at most one. It
/// lives while it is the module's window or a command of its menu runs: a command may open a
/// dialog, during which the window can be closed.
class CqDumpWnd : public CObject,
                  public CqDumpViewEvents,
                  public std::enable_shared_from_this<CqDumpWnd> {
public:
    static const CRuntimeClass classCqDumpWnd;
    const CRuntimeClass* GetRuntimeClass() const override;

    /// Implement `q32CreateDumpWnd` and `q32DestroyDumpWnd`.
    static bool fnCreateOnly();
    static void fnDestroyOnly() noexcept;

    /// Shows a stream's text, if there is a window. Fails silently.
    /// @param stream  identifies the stream; only compared
    /// @param before  bytes of the text before this output
    static void fnShowText(const void* stream, const char* text, std::size_t length,
                           std::size_t before) noexcept;
    /// Called when a stream is destroyed. Its text stays in the view.
    static void fnForget(const void* stream) noexcept;

    bool fnOnSysCommand(UINT id) override;
    void fnOnClose() override;

private:
    bool fnCreate();
    bool fnCreateParts();
    void fnInsertMenu();
    void fnToggleOnTop();
    void fnSave();
    void fnSaveAs(const char* path);
    void fnSaveLayout() noexcept;
    /// Reads the rectangle and the fields from the settings, or writes them if `saving`.
    bool fnLayout(CRect& rect, bool saving);

    CFont m_Font;                        ///< of the text; may have no handle
    std::unique_ptr<CqDumpView> m_pView; ///< frame, text and status bar
    const void* m_pShown = nullptr;      ///< the stream whose text the view shows
    CString m_strPrefDir;                ///< folder of the last save
    std::int32_t m_bOnTop = 1;
};
