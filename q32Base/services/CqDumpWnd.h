#pragma once

#include "q32Base/framework/CFont.h"
#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/CqDumpView.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// The window that dump streams show in, over the back end's view. There is one at most. It lives
/// as long as it is the module's window, or a command of its menu runs: a command, which may open
/// dialogs, can outlive the window's end.
class CqDumpWnd : public CObject,
                  public CqDumpViewEvents,
                  public std::enable_shared_from_this<CqDumpWnd> {
public:
    static const CRuntimeClass classCqDumpWnd;
    const CRuntimeClass* GetRuntimeClass() const override;

    /// The work of the two flat functions.
    static bool fnCreateOnly();
    static void fnDestroyOnly() noexcept;

    /// Shows a stream's whole text, if there is a window. Fails silently.
    /// @param stream  who writes; only compared
    /// @param before  how much of the text its last call has shown
    static void fnShowText(const void* stream, const char* text, std::size_t length,
                           std::size_t before) noexcept;
    /// A stream ends. What it has shown stays.
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
    /// Reads the rectangle (false) and the fields from the settings, or writes them (true).
    bool fnLayout(CRect& rect, bool saving);

    CFont m_Font;                        ///< of the text; may have no handle
    std::unique_ptr<CqDumpView> m_pView; ///< frame, text and status bar
    const void* m_pShown = nullptr;      ///< the stream whose text stands in the view
    CString m_strPrefDir;                ///< folder of the last save
    std::int32_t m_bOnTop = 1;
};
