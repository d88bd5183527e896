#include "platforms/qt/CqQtWindows.h"

#include "platforms/posix/CodePage_p.h"
#include "platforms/qt/CqQtDumpView_p.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <utility>

CqQtCanvas* CqQtPlace::fnFindCanvas() const {
    if (auto* canvas = qobject_cast<CqQtCanvas*>(m_pWidget.data()))
        return canvas;
    const auto* area = qobject_cast<QAbstractScrollArea*>(m_pWidget.data());
    return area ? qobject_cast<CqQtCanvas*>(area->viewport()) : nullptr;
}

CqQtCanvas* CqQtPlace::fnGetCanvas() const {
    if (CqQtCanvas* canvas = fnFindCanvas())
        return canvas;
    if (!m_pOver) {
        m_pOver = new CqQtCanvas(m_pWidget);
        m_pOver->setAttribute(Qt::WA_TransparentForMouseEvents);
        m_pOver->setFocusPolicy(Qt::NoFocus);
        m_pOver->hide();
    }
    m_pOver->setGeometry(m_pWidget->rect());
    m_pOver->raise();
    return m_pOver;
}

CRect CqQtPlace::fnGetClient() const {
    const QWidget* client = m_pWidget;
    if (!client)
        return {};
    if (const CqQtCanvas* canvas = fnFindCanvas())
        client = canvas;
    const QSize size = CqQtCanvas::fnGetPixelSize(*client);
    return {0, 0, size.width(), size.height()};
}

LRESULT CqQtPlace::fnSend(UINT message, WPARAM wParam) const {
    if (message != WM_ERASEBKGND || !m_pWidget)
        return 0;
    auto* dc = reinterpret_cast<CDC*>(wParam);
    return dc && dc->FillRect(fnGetClient(), COLOR_BTNFACE) ? 1 : 0;
}

void CqQtPlace::fnInvalidate(const RECT* rect) const {
    if (!m_pWidget)
        return;
    if (m_pOver)
        m_pOver->hide();
    CqQtCanvas* canvas = fnFindCanvas();
    QWidget& target = canvas ? *canvas : *m_pWidget;
    if (!rect) {
        target.update();
        return;
    }
    const double scale = target.devicePixelRatioF();
    const CRect part(*rect);
    target.update(
        QRectF(part.left / scale, part.top / scale, part.Width() / scale, part.Height() / scale)
            .toAlignedRect());
}

LRESULT CqQtProgressCtrl::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    auto* bar = qobject_cast<QProgressBar*>(fnGetWidget());
    if (!bar)
        return 0;
    if (message == PBM_SETRANGE)
        bar->setRange(static_cast<int>(lParam & 0xFFFF), static_cast<int>(lParam >> 16 & 0xFFFF));
    else if (message == PBM_SETPOS)
        bar->setValue(static_cast<int>(wParam));
    else
        return CqQtWndOf::SendMessage(message, wParam, lParam);
    if (bar->isVisible())
        bar->repaint();
    return 0;
}

LRESULT CqQtToolBar::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != TB_ENABLEBUTTON)
        return CqQtWndOf::SendMessage(message, wParam, lParam);
    const auto found = m_Actions.find(static_cast<UINT>(wParam));
    if (!IsWindow() || found == m_Actions.end() || !found->second)
        return 0;
    found->second->setEnabled((lParam & 0xFFFF) != 0);
    return 1;
}

void CqQtCmdUI::Enable(bool on) {
    if (m_pAction)
        m_pAction->setEnabled(on);
}

void CqQtDocument::SetModifiedFlag(bool modified) {
    if (m_pWindow)
        m_pWindow->setWindowModified(modified);
}

CqQtWindows::CqQtWindows() : m_pCodePage(std::make_shared<q32::posix::CodePage>("")) {}

CqQtWindows::~CqQtWindows() = default;

void CqQtWindows::fnSetCodePage(std::shared_ptr<const q32::posix::CodePage> codePage) {
    m_pCodePage = std::move(codePage);
}

std::unique_ptr<CqDumpView> CqQtWindows::fnCreateDumpView(const CqDumpViewSetup& setup,
                                                          CqDumpViewEvents& events) {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return nullptr;
    return std::make_unique<CqQtDumpView>(setup, events, m_pCodePage);
}
