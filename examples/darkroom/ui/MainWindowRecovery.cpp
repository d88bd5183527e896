// Copies for the case that the program ends without saving.
#include "examples/darkroom/ui/MainWindow.h"
#include "q32Base/framework/Memory.h"

#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QStatusBar>
#include <utility>

namespace darkroom {

void MainWindow::fnKeepCopy() {
    if (m_bBusy || m_bAsking || QApplication::activeModalWidget() ||
        QApplication::mouseButtons() != Qt::NoButton)
        return;
    if (!m_Recovery.fnIsNeeded(m_Document))
        return;
    constexpr int kMessageMs = 4000;
    // The user hasn't asked for it: a failure appears in the status bar alone.
    Outcome outcome = fnWork(tr("Keeping a copy"), [&](CqProgressDisplay* progress) {
        return m_Recovery.fnKeep(m_Document, progress);
    });
    fnUpdate();
    statusBar()->showMessage(
        outcome.fnIsDone() ? QString() : tr("No copy could be kept of the changes"), kMessageMs);
}

void MainWindow::fnDropSavedCopy() {
    if (m_Document.IsModified() == 0)
        m_Recovery.fnDropOwn();
}

void MainWindow::fnOfferRecovery() {
    while (m_Recovery.fnAdopt()) {
        const QString name = m_Recovery.fnGetName();
        const QString path = m_Recovery.fnGetPath();
        const auto answer = QMessageBox::question(
            this, tr("Darkroom"),
            tr("The program ended before changes of %1 were saved. Open what it kept of them?")
                .arg(name.isEmpty() ? tr("a new picture") : name),
            QMessageBox::Open | QMessageBox::Discard | QMessageBox::Cancel);
        if (answer == QMessageBox::Cancel)
            return m_Recovery.fnRelease();
        if (answer == QMessageBox::Discard) {
            m_Recovery.fnDrop();
            continue;
        }
        if (fnRun(tr("Opening %1").arg(name), [&](CqProgressDisplay* progress) {
                Outcome outcome =
                    m_Document.fnOpen(QFile::encodeName(path).toStdString(), progress);
                if (outcome.fnIsDone()) {
                    if (auto metadata = m_Recovery.fnGetMetadata())
                        m_Document.fnSetMetadata(std::move(*metadata));
                    m_Document.fnMarkUnsaved();
                    m_Recovery.fnOwn();
                }
                return outcome;
            })) {
            m_pView->fnSetFit(true);
            return;
        }
        return m_Recovery.fnRelease();
    }
}

} // namespace darkroom
