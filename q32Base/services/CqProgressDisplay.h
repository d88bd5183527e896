#pragma once

#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/framework/Values.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/Export.h"

#include <cstdint>

/// Shows how far a long operation has come, and tells it when the user has pressed Esc. An
/// operation takes a pointer to one, which may be null, and calls `fnDrawStatus` as it goes.
///
/// There are two outputs: a gauge painted on the status bar of the main window, or a progress
/// control of the host's own. A host may derive from it and override any of the three virtual
/// operations; such an object is not to be deleted through a pointer to this class.
///
/// An object lives for one operation, on the thread of the user interface. It has no thread or
/// timer and dispatches no messages. Where something that painting needs can't be had, the display
/// falls silent and the operation goes on.
///
/// Example:
///     CqProgressDisplay progress;
///     image.fnBrightContrast(20, 0, true, &progress);
class Q32_API CqProgressDisplay {
public:
    /// Paints on the message bar of the main window, if there is one. With false there is no
    /// output, but Esc is still reported.
    explicit CqProgressDisplay(bool bUseStatusBar = true);
    /// Drives a control, which isn't owned: it gets the range 0 to 100 and the position 0. Null
    /// means no output.
    explicit CqProgressDisplay(CProgressCtrl* pCtrl);
    /// Wipes the bar and has it redrawn.
    ~CqProgressDisplay();
    CqProgressDisplay(const CqProgressDisplay&) = delete;
    CqProgressDisplay& operator=(const CqProgressDisplay&) = delete;

    /// The values that are shown at 0 and at 100 percent; at first 0 and 100. The control's own
    /// range isn't changed.
    void fnGetRange(unsigned int& nLow, unsigned int& nHigh) const;
    void fnSetRange(unsigned int nLow, unsigned int nHigh);

    /// Shows a percentage; what is above 100 counts as 100. Paints only if it differs from the last
    /// one shown.
    /// @param pbAborted  takes what `fnIsAborted` says; when that is true, nothing is painted.
    /// Null: Esc is not looked for, and the gauge has no hint of it.
    virtual void fnDrawStatus(unsigned int nPercent, bool* pbAborted);
    /// Wipes the status bar.
    virtual void fnClearStatus() const;
    /// Whether Esc is down, was down in a message, or is in the queue. Every key that was pressed
    /// meanwhile is taken out of the queue and lost, up to the first Esc; other messages stay.
    virtual bool fnIsAborted() const;

    /// What the last look for Esc said; false before the first one.
    bool fnWasAborted() const { return m_bAborted; }

protected:
    bool m_bAborted = false;
    CWnd* m_pStatusBar = nullptr;             ///< painted on; null when not in use; not owned
    CProgressCtrl* m_pProgressCtrl = nullptr; ///< driven instead; not owned
    std::uint32_t m_nRangeLow = 0;
    std::uint32_t m_nRangeHigh = 100;
    CRect m_rcGauge; ///< on the status bar, in its client coordinates
    CRect m_rcText;  ///< cell of the figure inside the gauge
    CFont m_Font;    ///< may have no handle: the device context's own font serves then
    CBitmap m_Bitmap;
    std::int32_t m_nLastPercent = -1; ///< -1: nothing has been shown

private:
    bool fnLayOut();
    bool fnPaint(std::uint32_t value, bool hint);
};
