#include "platforms/qt/CanvasContext_p.h"
#include "platforms/qt/CqQtDumpView_p.h"
#include "platforms/qt/Text_p.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/framework/Values.h"

#include <algorithm>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScreen>
#include <QScrollBar>
#include <QStatusBar>
#include <QTextCursor>
#include <QWindow>
#include <string_view>
#include <utility>

namespace q32::qt {

namespace {

constexpr UINT kOverwritePrompt = 0x2; ///< OFN_OVERWRITEPROMPT
constexpr QSize kDefaultSize(480, 320);

/// A path in the library's form: directories unchanged, and one backslash ahead of the file name.
QString fnToLibrary(QString path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? path : path.replace(slash, 1, '\\');
}

QStringList fnReadFilters(const posix::CodePage& codePage, const char* filter) {
    QStringList filters;
    while (filter && *filter) {
        const std::string label = filter;
        filter += label.size() + 1;
        const std::string mask = filter;
        filter += mask.size() + 1;
        filters += fnToText(codePage, label) + " (" + fnToText(codePage, mask) + ')';
    }
    return filters;
}

} // namespace

DumpFrame::DumpFrame() {
    setWindowFlags(Qt::Tool | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
    setAttribute(Qt::WA_QuitOnClose, false);
}

void DumpFrame::closeEvent(QCloseEvent* event) {
    event->accept();
    const std::function<void()> onClose = m_OnClose; // a copy: the call may clear the member
    if (onClose)
        onClose();
}

} // namespace q32::qt

using namespace q32;
using namespace q32::qt;

CqQtDumpView::CqQtDumpView(const CqDumpViewSetup& setup, CqDumpViewEvents& events,
                           std::shared_ptr<const posix::CodePage> codePage)
    : m_Events(events), m_pCodePage(std::move(codePage)), m_pFrame(new DumpFrame) {
    m_pFrame->setWindowTitle(fnToText(*m_pCodePage, setup.m_szCaption));
    m_IdlePrompt = fnToText(*m_pCodePage, setup.m_szIdlePrompt);
    m_pMenu = m_pFrame->menuBar()->addMenu(QObject::tr("&Window"));
    m_pFrame->m_OnClose = [this] { m_Events.fnOnClose(); };
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, m_pFrame,
                     [frame = m_pFrame.data()] { frame->close(); });

    m_pFrame->resize(kDefaultSize);
    if (setup.m_Place) {
        constexpr LONG kFar = 32767;
        const CRect place(*setup.m_Place);
        // The saved place may be on a screen that no longer exists: then the window starts at the
        // default place, no larger than the screens.
        const QSize most = m_pFrame->screen()->availableVirtualSize();
        m_pFrame->resize(std::clamp(place.Width(), LONG{0}, LONG{most.width()}),
                         std::clamp(place.Height(), LONG{0}, LONG{most.height()}));
        const QPoint corner(std::clamp(place.left, -kFar, kFar),
                            std::clamp(place.top, -kFar, kFar));
        if (QGuiApplication::screenAt(corner))
            m_pFrame->move(corner);
    }
}

CqQtDumpView::~CqQtDumpView() {
    if (!m_pFrame || !QCoreApplication::instance())
        return; // the application has deleted its windows
    m_pFrame->m_OnClose = nullptr;
    m_pFrame->hide();
    m_pFrame->deleteLater(); // this may be called from one of its events
}

bool CqQtDumpView::fnCreateText() {
    m_pText = new QPlainTextEdit(m_pFrame);
    m_pText->setReadOnly(true);
    m_pText->setUndoRedoEnabled(false);
    m_pText->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_pText->setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(m_pText, &QWidget::customContextMenuRequested, m_pMenu,
                     [this](const QPoint& at) { m_pMenu->popup(m_pText->mapToGlobal(at)); });
    m_pFrame->setCentralWidget(m_pText);
    return true;
}

bool CqQtDumpView::fnCreateStatusBar() {
    // A temporary prompt hides this label while it is shown.
    m_pFrame->statusBar()->addWidget(new QLabel(m_IdlePrompt), 1);
    return true;
}

void CqQtDumpView::fnSetFont(const CFont& font) {
    const auto* own = dynamic_cast<const Font*>(font.GetObject());
    if (!own || !m_pText)
        return;
    QFont scaled = own->m_Font;
    const double scale = m_pFrame->devicePixelRatioF();
    scaled.setPixelSize(std::max(1, static_cast<int>(scaled.pixelSize() / scale)));
    m_pText->setFont(scaled);
}

void CqQtDumpView::fnInsertMenuItem(const CqDumpMenuItem& item) {
    auto* action = new QAction(m_pFrame);
    if (item.m_nId == 0) {
        action->setSeparator(true);
    } else {
        action->setText(fnToText(*m_pCodePage, item.m_szText ? item.m_szText : ""));
        action->setStatusTip(fnToText(*m_pCodePage, item.m_szPrompt ? item.m_szPrompt : ""));
        QObject::connect(action, &QAction::triggered, m_pFrame, [this, action, id = item.m_nId] {
            // The library sets the check mark, so Qt's own is undone. The view may be gone after
            // this.
            if (action->isCheckable())
                action->toggle();
            m_Events.fnOnSysCommand(id);
        });
        m_Items[item.m_nId] = action;
    }
    m_pMenu->insertAction(m_pMenu->actions().value(0), action);
}

void CqQtDumpView::fnCheckMenuItem(UINT id, bool checked) {
    const auto found = m_Items.find(id);
    if (found == m_Items.end())
        return;
    found->second->setCheckable(true);
    found->second->setChecked(checked);
}

void CqQtDumpView::fnSetOnTop(bool onTop) {
    Qt::WindowFlags flags = m_pFrame->windowFlags();
    flags.setFlag(Qt::WindowStaysOnTopHint, onTop);
    // setWindowFlags would hide the window and lose its place, so the flags of the QWindow are set.
    m_pFrame->overrideWindowFlags(flags);
    if (QWindow* window = m_pFrame->windowHandle())
        window->setFlags(flags);
}

void CqQtDumpView::fnShow() {
    m_pFrame->show();
}

RECT CqQtDumpView::fnGetPlace() const {
    if (!m_pFrame)
        return {};
    const QPoint corner = m_pFrame->pos();
    const QSize size = m_pFrame->size();
    return CRect(CPoint(corner.x(), corner.y()), CSize(size.width(), size.height()));
}

QString CqQtDumpView::fnToLines(std::size_t first) {
    return fnToText(*m_pCodePage, std::string_view(m_szText).substr(first), &m_nUnfinished)
        .remove('\r');
}

bool CqQtDumpView::fnIsAtEnd() const {
    const QScrollBar& bar = *m_pText->verticalScrollBar();
    return bar.value() == bar.maximum();
}

void CqQtDumpView::fnGoToEnd() {
    QScrollBar& bar = *m_pText->verticalScrollBar();
    bar.setValue(bar.maximum());
}

void CqQtDumpView::fnSetText(const char* text, std::size_t length) {
    if (!m_pText)
        return;
    m_szText.assign(text, length);
    const bool follow = fnIsAtEnd();
    const int row = m_pText->verticalScrollBar()->value();
    m_pText->setPlainText(fnToLines(0));
    if (follow)
        fnGoToEnd();
    else
        m_pText->verticalScrollBar()->setValue(row);
}

bool CqQtDumpView::fnAppendText(const char* text, std::size_t length) {
    if (!m_pText)
        return false;
    // A character may come in parts: what was shown for the first ones is replaced.
    const std::size_t first = m_szText.size() - m_nUnfinished;
    const int shown = static_cast<int>(m_nUnfinished);
    m_szText.append(text, length);
    const bool follow = fnIsAtEnd();
    QTextCursor cursor(m_pText->document());
    cursor.movePosition(QTextCursor::End);
    cursor.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, shown);
    cursor.insertText(fnToLines(first));
    if (follow)
        fnGoToEnd();
    return true;
}

bool CqQtDumpView::fnAskSaveName(const CqSaveRequest& request, std::string& path) {
    QFileDialog dialog(m_pFrame, m_pFrame->windowTitle());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(fnToText(*m_pCodePage, request.m_szDefaultExtension));
    dialog.setNameFilters(fnReadFilters(*m_pCodePage, request.m_pszFilter));
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, !(request.m_nFlags & kOverwritePrompt));
    if (request.m_szFolder)
        dialog.setDirectory(fnToText(*m_pCodePage, request.m_szFolder).replace('\\', '/'));
    const bool confirmed = dialog.exec() == QDialog::Accepted;
    const QStringList files = dialog.selectedFiles();
    if (!confirmed || files.isEmpty())
        return false;
    path = fnToBytes(*m_pCodePage, fnToLibrary(files.first()));
    return true;
}
