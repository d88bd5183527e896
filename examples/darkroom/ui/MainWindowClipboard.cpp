// Copying and pasting.
#include "examples/darkroom/ui/MainWindow.h"

#include <QStatusBar>
#include <utility>

namespace darkroom {

void MainWindow::fnCopy() {
    CqImage copy;
    if (fnRun(tr("Copy"), [&](CqProgressDisplay* progress) {
            Outcome outcome = m_Document.fnCopy(copy, progress);
            if (outcome.fnIsDone())
                m_Clipboard.fnPut(copy);
            return outcome;
        }))
        statusBar()->showMessage(tr("Copied"), kMessageMs);
}

void MainWindow::fnCut() {
    CqImage copy;
    fnRun(tr("Cut"), [&](CqProgressDisplay* progress) {
        Outcome outcome = m_Document.fnCopy(copy, progress);
        if (outcome.fnIsDone())
            outcome = m_Document.fnErase(progress);
        if (outcome.fnIsDone())
            m_Clipboard.fnPut(copy);
        return outcome;
    });
}

bool MainWindow::fnTakeClip(CqImage& image) {
    if (!m_Clipboard.fnHasPicture()) {
        statusBar()->showMessage(tr("The clipboard holds no picture"), kMessageMs);
        return false;
    }
    return fnRun(tr("Paste"), [&](CqProgressDisplay*) {
        return m_Document.fnWithRoom(
            [&] { return m_Clipboard.fnTake(image) ? Outcome() : fnStop(); });
    });
}

void MainWindow::fnPasteInto() {
    CqImage image;
    if (fnTakeClip(image))
        fnLay(image);
}

void MainWindow::fnPasteNew() {
    CqImage image;
    if (!fnMayLeave() || !fnTakeClip(image))
        return;
    fnRun(tr("Paste"), [&](CqProgressDisplay*) {
        Outcome outcome = m_Document.fnTakeNew(image);
        if (outcome.fnIsDone())
            m_Document.fnMarkUnsaved();
        return outcome;
    });
    m_pView->fnSetFit(true);
}

} // namespace darkroom
