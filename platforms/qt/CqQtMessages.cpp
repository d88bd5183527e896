#include "platforms/qt/CqQtMessages_p.h"
#include "platforms/qt/CqQtWindows.h"
#include "platforms/qt/Text_p.h"

#include <array>
#include <cstdio>
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QThread>
#include <utility>

namespace {

constexpr UINT kButtonMask = 0xF;
constexpr UINT kDefaultMask = 0xF00; ///< the default button's position, from the left
constexpr UINT kDefaultShift = 8;

struct Button {
    QMessageBox::StandardButton m_Button;
    int m_nAnswer;
};

constexpr Button kOk = {QMessageBox::Ok, IDOK};
constexpr Button kCancel = {QMessageBox::Cancel, IDCANCEL};
constexpr Button kYes = {QMessageBox::Yes, IDYES};
constexpr Button kNo = {QMessageBox::No, IDNO};
constexpr Button kNone = {QMessageBox::NoButton, 0};

using Buttons = std::array<Button, 3>;

/// Buttons from the left. An unknown set gives OK alone.
Buttons fnGetButtons(UINT style) {
    switch (style & kButtonMask) {
    case MB_OKCANCEL:
        return {kOk, kCancel, kNone};
    case MB_YESNO:
        return {kYes, kNo, kNone};
    case MB_YESNOCANCEL:
        return {kYes, kNo, kCancel};
    default:
        return {kOk, kNone, kNone};
    }
}

QMessageBox::Icon fnGetIcon(UINT style) {
    switch (style & MB_ICONMASK) {
    case MB_ICONHAND:
        return QMessageBox::Critical;
    case MB_ICONQUESTION:
        return QMessageBox::Question;
    case MB_ICONEXCLAMATION:
        return QMessageBox::Warning;
    case MB_ICONASTERISK:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

bool fnCanShow() {
    const auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    return app && !QCoreApplication::closingDown() && QThread::currentThread() == app->thread();
}

/// A box whose owner may be deleted, and delete the box, while it is open.
class OwnedBox {
public:
    explicit OwnedBox(QWidget* owner) : m_pBox(new QMessageBox(owner)) {}
    ~OwnedBox() { delete m_pBox; }
    OwnedBox(const OwnedBox&) = delete;
    OwnedBox& operator=(const OwnedBox&) = delete;
    QMessageBox* operator->() const { return m_pBox; }

private:
    const QPointer<QMessageBox> m_pBox;
};

QWidget* fnGetOwner(CqWindowService& windows) {
    if (QWidget* modal = QApplication::activeModalWidget())
        return modal;
    if (QWidget* active = QApplication::activeWindow())
        return active;
    const auto* place = dynamic_cast<const CqQtPlace*>(windows.fnGetMainWnd());
    QWidget* main = place ? place->fnGetWidget() : nullptr;
    return main ? main->window() : nullptr;
}

void fnSetButtons(const OwnedBox& box, const Buttons& buttons, UINT style) {
    for (const Button& button : buttons)
        if (button.m_nAnswer != 0)
            box->addButton(button.m_Button);
    const UINT first = (style & kDefaultMask) >> kDefaultShift;
    const Button& standard = buttons[first < buttons.size() ? first : 0];
    box->setDefaultButton(standard.m_nAnswer != 0 ? standard.m_Button : buttons[0].m_Button);
    // The last button is the most harmless.
    for (const Button& button : buttons)
        if (button.m_nAnswer != 0)
            box->setEscapeButton(button.m_Button);
}

} // namespace

CqQtMessages::CqQtMessages(std::shared_ptr<CqMessageService> errors,
                           std::shared_ptr<const q32::posix::CodePage> codePage,
                           std::shared_ptr<CqWindowService> windows)
    : m_pErrors(std::move(errors)), m_pCodePage(std::move(codePage)),
      m_pWindows(std::move(windows)) {}

int CqQtMessages::fnShowBox(const char* text, UINT style, const char* caption) {
    text = text ? text : "";
    if (!fnCanShow()) {
        std::fprintf(stderr, "%s%s%s\n", caption ? caption : "", caption ? ": " : "", text);
        return 0;
    }
    const OwnedBox box(fnGetOwner(*m_pWindows));
    box->setWindowModality(Qt::ApplicationModal);
    box->setIcon(fnGetIcon(style));
    box->setTextFormat(Qt::PlainText); // file names may look like markup
    box->setText(q32::qt::fnToText(*m_pCodePage, text));
    box->setWindowTitle(caption ? q32::qt::fnToText(*m_pCodePage, caption)
                                : QGuiApplication::applicationDisplayName());
    const Buttons buttons = fnGetButtons(style);
    fnSetButtons(box, buttons, style);
    const int chosen = box->exec();
    for (const Button& button : buttons)
        if (button.m_nAnswer != 0 && button.m_Button == chosen)
            return button.m_nAnswer;
    return 0;
}
