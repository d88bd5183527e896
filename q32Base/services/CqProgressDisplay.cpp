#include "q32Base/services/CqProgressDisplay.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/messages/StringTable_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <memory>
#include <optional>

namespace {

constexpr LONG kMargin = 6;   ///< left and right of the gauge, and around the number's cell
constexpr LONG kHintGap = 12; ///< from the number's cell to the hint

/// Selects an object into a device context for this object's life.
template <typename Object>
class Selection {
public:
    Selection(CDC& dc, Object& object) : m_DC(dc), m_pFormer(dc.SelectObject(&object)) {}
    ~Selection() { m_DC.SelectObject(m_pFormer); }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;

private:
    CDC& m_DC;
    Object* m_pFormer;
};

} // namespace

CqProgressDisplay::CqProgressDisplay(bool bUseStatusBar) {
    CWnd* window = bUseStatusBar ? q32::fnPlatform().m_pWindows->fnGetMainWnd() : nullptr;
    m_pStatusBar = window ? window->GetMessageBar() : nullptr;
    if (m_pStatusBar && !fnLayOut())
        m_pStatusBar = nullptr;
}

CqProgressDisplay::CqProgressDisplay(CProgressCtrl* pCtrl) : m_pProgressCtrl(pCtrl) {
    if (!m_pProgressCtrl)
        return;
    m_pProgressCtrl->SendMessage(PBM_SETRANGE, 0, 0x00640000);
    m_pProgressCtrl->SendMessage(PBM_SETPOS, 0, 0);
}

CqProgressDisplay::~CqProgressDisplay() {
    CqProgressDisplay::fnClearStatus();
    if (m_pStatusBar)
        m_pStatusBar->InvalidateRect(nullptr, false);
}

// Lays out the gauge on the bar and creates its bitmap. False if something is unavailable.
bool CqProgressDisplay::fnLayOut() {
    const CRect client = m_pStatusBar->GetClientRect();
    const CClientDC bar(m_pStatusBar);
    if (!bar)
        return false;
    m_Font.CreateIconTitleFont();
    TEXTMETRICA metrics{};
    CRect widest;
    {
        std::optional<Selection<CFont>> font;
        if (m_Font.HasHandle())
            font.emplace(*bar.GetDC(), m_Font);
        if (!bar->GetTextMetrics(&metrics) ||
            bar->DrawText("100%", -1, &widest, DT_CALCRECT | DT_SINGLELINE) == 0)
            return false;
    }
    const LONG top = (client.Height() - metrics.tmHeight) >> 1;
    m_rcGauge = CRect(kMargin, top, client.Width() - kMargin, top + metrics.tmHeight);
    m_rcGauge.InflateRect(0, 2);
    m_rcGauge.top = std::max<LONG>(m_rcGauge.top, 0);
    m_rcGauge.bottom = std::min(m_rcGauge.bottom, client.Height());
    m_rcText = CRect(0, 0, widest.Width() + kMargin, m_rcGauge.Height());
    return m_Bitmap.CreateCompatibleBitmap(bar.GetDC(), m_rcGauge.Width(), m_rcGauge.Height());
}

void CqProgressDisplay::fnGetRange(unsigned int& nLow, unsigned int& nHigh) const {
    nLow = m_nRangeLow;
    nHigh = m_nRangeHigh;
}

void CqProgressDisplay::fnSetRange(unsigned int nLow, unsigned int nHigh) {
    m_nRangeLow = nLow;
    m_nRangeHigh = nHigh;
}

void CqProgressDisplay::fnDrawStatus(unsigned int nPercent, bool* pbAborted) {
    if (pbAborted)
        *pbAborted = m_bAborted = fnIsAborted();
    if (m_bAborted || (!m_pStatusBar && !m_pProgressCtrl))
        return;
    const auto percent = static_cast<std::int32_t>(std::min(nPercent, 100u));
    if (percent == m_nLastPercent)
        return;
    // Wraps at 32 bits if the range is wide or reversed.
    const std::uint32_t value =
        m_nRangeLow + (m_nRangeHigh - m_nRangeLow) * static_cast<std::uint32_t>(percent) / 100;
    if (m_pStatusBar) {
        if (m_nLastPercent == -1)
            fnClearStatus();
        if (!fnPaint(value, pbAborted != nullptr)) {
            m_pStatusBar = nullptr;
            return;
        }
    } else {
        m_pProgressCtrl->SendMessage(PBM_SETPOS, value, 0);
    }
    m_nLastPercent = percent;
}

// Paints the gauge with a number, by way of an off-screen bitmap. False if a device context is
// unavailable; failed drawing calls are ignored.
bool CqProgressDisplay::fnPaint(std::uint32_t value, bool hint) {
    assert(m_Bitmap.HasHandle());
    const CClientDC bar(m_pStatusBar);
    const std::unique_ptr<CDC> image = bar ? bar->CreateCompatibleDC() : nullptr;
    if (!image)
        return false;
    std::optional<Selection<CFont>> font;
    if (m_Font.HasHandle())
        font.emplace(*image, m_Font);
    const Selection<CBitmap> bitmap(*image, m_Bitmap);
    const LONG width = m_rcGauge.Width();
    const LONG height = m_rcGauge.Height();

    image->FillRect(CRect(0, 0, width, height), COLOR_BTNFACE);
    image->SetBkMode(TRANSPARENT);
    char figure[16];
    std::snprintf(figure, sizeof figure, "%d%%", static_cast<int>(value));
    CRect cell = m_rcText;
    image->DrawText(figure, -1, &cell, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    if (hint) {
        const char* text = q32::fnFindString(q32::STRING_ESC_TO_ABORT);
        CSize size;
        image->GetTextExtentPoint32(text, -1, &size);
        CRect place(CPoint(m_rcText.right + kHintGap, m_rcText.top), CSize(size.cx, height));
        image->DrawText(text, -1, &place, DT_VCENTER | DT_SINGLELINE);
    }
    image->SetBkMode(OPAQUE);

    // Inverting draws the bar and keeps the hint readable on it. A value above 100 extends past the
    // gauge and is clipped to the bitmap.
    CRect done(m_rcText.right + kMargin, 0, width, height);
    const std::uint32_t length = static_cast<std::uint32_t>(done.Width()) * value / 100;
    done.right = q32::fnWrapAdd(done.left, static_cast<LONG>(length));
    image->InvertRect(done);
    bar->BitBlt(m_rcGauge.left, m_rcGauge.top, width, height, image.get(), 0, 0, SRCCOPY);
    return true;
}

void CqProgressDisplay::fnClearStatus() const {
    if (!m_pStatusBar)
        return;
    if (const CClientDC bar(m_pStatusBar); bar)
        m_pStatusBar->SendMessage(WM_ERASEBKGND, reinterpret_cast<WPARAM>(bar.GetDC()), 0);
}

bool CqProgressDisplay::fnIsAborted() const {
    CqKeyboardService& keyboard = *q32::fnPlatform().m_pKeyboard;
    return q32::fnGuardMemory([&] {
        if (keyboard.fnIsKeyDown(VK_ESCAPE) || keyboard.fnIsKeyDownNow(VK_ESCAPE))
            return true;
        CqKeyMessage message;
        while (keyboard.fnTakeKeyMessage(message))
            if (message.m_wParam == VK_ESCAPE &&
                (message.m_nMessage == WM_KEYDOWN || message.m_nMessage == WM_CHAR))
                return true;
        return false;
    });
}
