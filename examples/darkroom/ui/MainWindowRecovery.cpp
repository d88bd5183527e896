// Copies for the case that the program ends without saving.
#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/ui/FailureText.h"
#include "examples/darkroom/ui/MainWindow.h"
#include "q32Base/framework/Memory.h"

#include <chrono>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QStatusBar>
#include <utility>

namespace darkroom {

void MainWindow::fnKeepCopy() {
    constexpr std::chrono::minutes kInterval(2);
    constexpr std::chrono::seconds kRetry(5);
    const bool disturbs = m_bBusy || m_bAsking || QApplication::activeModalWidget() ||
                          QApplication::activePopupWidget() ||
                          QApplication::mouseButtons() != Qt::NoButton || m_Recovery.fnIsWriting();
    disturbs ? m_KeepSoon.start(kRetry) : m_KeepSoon.start(kInterval);
    if (disturbs || !m_Recovery.fnIsNeeded(m_Document))
        return;
    const CqImage& image = m_Document.fnGetImage();
    const auto keep = [&](CqProgressDisplay* progress) {
        return m_Recovery.fnKeep(m_Document, progress);
    };
    // A small one without a sign. Neither way ends a shape that is being drawn.
    if (fnCountBytes(image.Width, image.Height, image.BitCount) < kShownBytes)
        return fnTellUnkept(keep(nullptr));
    const Outcome outcome = fnWork(tr("Keeping a copy"), keep);
    statusBar()->clearMessage();
    fnUpdateActions();
    fnTellUnkept(outcome);
}

void MainWindow::fnFinishCopy() {
    const Outcome outcome = m_Recovery.fnFinish();
    m_bToldUnkept = m_bToldUnkept && !outcome.fnIsDone();
    q32::fnTryMemory([&] { fnTellUnkept(outcome); });
    fnUpdateStatus();
}

/// The user hasn't asked for a copy: why there can be none appears in the status bar, once.
void MainWindow::fnTellUnkept(const Outcome& outcome) {
    if (outcome.m_nMsgId == 0 || std::exchange(m_bToldUnkept, true))
        return;
    statusBar()->showMessage(
        tr("No copy of the changes can be kept: %1")
            .arg(fnDescribeUnkept(outcome, Recovery::fnCountNeeded(m_Document.fnGetImage()))));
}

void MainWindow::fnDropSavedCopy() {
    if (m_Document.IsModified() == 0)
        m_Recovery.fnDropOwn();
}

bool MainWindow::fnOpenRecovered(const QString& name) {
    const std::string path = QFile::encodeName(m_Recovery.fnGetPath()).toStdString();
    const bool done = fnRun(tr("Opening %1").arg(name), [&](CqProgressDisplay* progress) {
        Outcome outcome = m_Document.fnOpen(path, progress);
        if (outcome.fnIsDone()) {
            if (auto facts = m_Recovery.fnGetFacts())
                m_Document.fnSetFileFacts(std::move(*facts));
            m_Document.fnMarkUnsaved(m_Recovery.fnGetFormerPath().toStdString());
            m_Recovery.fnOwn();
        }
        return outcome;
    });
    if (done)
        m_pView->fnSetFit(true);
    return done;
}

void MainWindow::fnOfferRecovery() {
    QStringList later;
    while (m_Recovery.fnAdopt(later)) {
        QString name = QFileInfo(QFile::decodeName(m_Recovery.fnGetFormerPath())).fileName();
        if (name.isEmpty())
            name = tr("a new picture");
        const auto answer = QMessageBox::question(
            this, tr("Darkroom"),
            tr("The program ended before changes of %1 were saved. Open what it kept of them?")
                .arg(name),
            QMessageBox::Open | QMessageBox::Discard | QMessageBox::Cancel);
        if (answer == QMessageBox::Open && fnOpenRecovered(name))
            return;
        later << m_Recovery.fnGetPath(); // a file that can't be deleted isn't offered again either
        answer == QMessageBox::Discard ? m_Recovery.fnDrop() : m_Recovery.fnRelease();
    }
}

void MainWindow::fnStart(const QString& picture) {
    fnOfferRecovery();
    if (picture.isEmpty())
        return;
    if (m_Document.fnHasImage())
        fnOpenSoon(picture); // asks what becomes of the recovered one
    else
        fnOpen(picture);
}

} // namespace darkroom
