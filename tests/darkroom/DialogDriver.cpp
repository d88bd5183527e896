#include "tests/darkroom/DialogDriver.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <utility>

namespace {

constexpr int kLookAgainMs = 10;
constexpr char kUsed[] = "used by the test";

std::string fnTitle(const QWidget& window) {
    return window.windowTitle().toStdString();
}

} // namespace

DialogDriver::DialogDriver(std::chrono::milliseconds patience) : m_Patience(patience) {
    m_Watch.callOnTimeout([this] { fnWatch(); });
    m_Watch.start(kLookAgainMs);
}

void DialogDriver::fnUse(std::function<void(QDialog&)> use) {
    // A timer per handler: one that is being served doesn't tick for dialogs inside of dialogs.
    auto* const timer = new QTimer(&m_Uses);
    timer->callOnTimeout([timer, use = std::move(use)] {
        const QPointer<QDialog> dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible() || dialog->property(kUsed).toBool())
            return;
        dialog->setProperty(kUsed, true);
        timer->stop();
        timer->setParent(nullptr);
        timer->deleteLater();
        use(*dialog);
        if (!dialog || !dialog->isVisible())
            return;
        ADD_FAILURE() << "a dialog is left open: " << fnTitle(*dialog);
        dialog->reject();
    });
    timer->start(kLookAgainMs);
}

void DialogDriver::fnEnd() {
    for (QTimer* timer : m_Uses.findChildren<QTimer*>()) {
        ADD_FAILURE() << "a dialog that was waited for has not come";
        delete timer;
    }
}

void DialogDriver::fnWatch() {
    QWidget* const window = QApplication::activeModalWidget();
    if (!window || window != m_pStanding || window->property(kUsed).toBool()) {
        m_pStanding = window;
        m_Since.start();
        return;
    }
    if (!m_Since.hasExpired(m_Patience.count()))
        return;
    ADD_FAILURE() << "a dialog that nobody uses: " << fnTitle(*window);
    m_Since.start();
    if (auto* const dialog = qobject_cast<QDialog*>(window))
        dialog->reject();
    else
        window->close();
}
