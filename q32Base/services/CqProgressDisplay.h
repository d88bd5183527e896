#pragma once

#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/framework/Values.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/Export.h"

#include <cstdint>

/// Shows the progress of a long operation and reports when the user has pressed Esc. An operation
/// takes a pointer to one, which may be null, and calls `fnDrawStatus` as it proceeds.
///
/// There are two outputs: a gauge painted on the status bar of the main window, or a progress
/// control of the host. A host may derive from this class and override any of the three virtual
/// functions; such an object must not be deleted through a pointer to this class.
///
/// An object lives for one operation, on the thread of the user interface. It has no thread or
/// timer and dispatches no messages. If something needed for painting is unavailable, the display
/// stops painting and the operation continues.
///
/// Example:
///
///     CqProgressDisplay progress;
///     image.fnBrightContrast(20, 0, true, &progress);
class Q32_API CqProgressDisplay {
public:
    /// Paints on the message bar of the main window, if there is one. With false there is no
    /// output, but Esc is still reported.
    explicit CqProgressDisplay(bool bUseStatusBar = true);
    /// Drives a control, which isn't owned; sets its range to 0 to 100 and its position to 0. Null
    /// means no output.
    explicit CqProgressDisplay(CProgressCtrl* pCtrl);
    /// Erases the bar and requests its repaint.
    ~CqProgressDisplay();
    CqProgressDisplay(const CqProgressDisplay&) = delete;
    CqProgressDisplay& operator=(const CqProgressDisplay&) = delete;

    /// The values that are shown at 0 and at 100 percent; 0 and 100 by default. The control's own
    /// range isn't changed.
    void fnGetRange(unsigned int& nLow, unsigned int& nHigh) const;
    void fnSetRange(unsigned int nLow, unsigned int nHigh);

    /// Shows a percentage, clamped to 100. Paints only if it differs from the last one shown.
    /// @param pbAborted  receives the result of `fnIsAborted`; if that is true, nothing is painted.
    /// Null: Esc isn't checked, and the gauge shows no hint of it.
    virtual void fnDrawStatus(unsigned int nPercent, bool* pbAborted);
    /// Erases the status bar.
    virtual void fnClearStatus() const;
    /// Whether Esc is down now or according to the messages read so far, or is in the queue. If it
    /// isn't down, key messages are removed from the queue and lost, up to the first Esc; other
    /// messages stay. Raises the memory exception.
    virtual bool fnIsAborted() const;

    /// Result of the last check for Esc; false before the first one.
    bool fnWasAborted() const { return m_bAborted; }

protected:
    bool m_bAborted = false;                  ///< result of the last check for Esc
    CWnd* m_pStatusBar = nullptr;             ///< painted on; null when not in use; not owned
    CProgressCtrl* m_pProgressCtrl = nullptr; ///< driven instead; not owned
    std::uint32_t m_nRangeLow = 0;            ///< value shown at 0 percent
    std::uint32_t m_nRangeHigh = 100;         ///< value shown at 100 percent
    CRect m_rcGauge;                          ///< on the status bar, in its client coordinates
    CRect m_rcText;                           ///< cell of the number inside the gauge
    CFont m_Font;                     ///< without a handle, the device context's own font is used
    CBitmap m_Bitmap;                 ///< the gauge is painted on it, then copied to the bar
    std::int32_t m_nLastPercent = -1; ///< -1: nothing has been shown

private:
    Q32_LOCAL bool fnLayOut();
    Q32_LOCAL bool fnPaint(std::uint32_t value, bool hint);
};
