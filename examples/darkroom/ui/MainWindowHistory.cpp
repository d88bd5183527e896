// The list of steps, in which a click goes back or forward.
#include "examples/darkroom/ui/Actions.h"
#include "examples/darkroom/ui/FailureText.h"
#include "examples/darkroom/ui/MainWindow.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/ReportMemory.h"

#include <QAction>
#include <QDockWidget>
#include <QListWidget>
#include <QMenu>
#include <QSignalBlocker>
#include <string>

namespace darkroom {

void MainWindow::fnMakeHistoryPanel() {
    auto* const dock = new QDockWidget(tr("History"), this);
    dock->setObjectName("historyDock");
    m_pSteps = new QListWidget;
    m_pSteps->setObjectName("history");
    m_pSteps->setAccessibleName(tr("History"));
    dock->setWidget(m_pSteps);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    dock->hide();
    dock->toggleViewAction()->setObjectName("historyPanel");
    fnFindMenu(kMenuView)->addAction(dock->toggleViewAction());
    const auto go = [this](const QListWidgetItem* item) {
        const auto done = static_cast<unsigned int>(m_pSteps->row(item));
        // Going there replaces the items, so not while one of them reports.
        QMetaObject::invokeMethod(
            this, [this, done] { q32::fnReportMemory([&] { fnGoToStep(done); }); },
            Qt::QueuedConnection);
    };
    connect(m_pSteps, &QListWidget::itemClicked, this, go);
    connect(m_pSteps, &QListWidget::itemActivated, this, go);
}

void MainWindow::fnUpdateSteps() {
    const QSignalBlocker blocker(m_pSteps);
    m_pSteps->clear();
    if (!m_Document.fnHasImage())
        return;
    m_pSteps->addItem(tr("Start"));
    for (const std::string& name : m_Document.fnListSteps())
        m_pSteps->addItem(tr(name.c_str()));
    m_pSteps->setCurrentRow(static_cast<int>(m_Document.fnCountDone()));
}

bool MainWindow::fnTravel(bool back) {
    const auto travel = [&](CqProgressDisplay* progress) {
        return back ? m_Document.fnUndo(progress) : m_Document.fnRedo(progress);
    };
    if (m_Document.fnGetTravelBytes(back) >= kShownBytes)
        return fnRun(back ? tr("Undo") : tr("Redo"), travel);
    const Outcome outcome = travel(nullptr);
    fnShowFailure(outcome);
    return outcome.fnIsDone();
}

void MainWindow::fnGoToStep(unsigned int done) {
    if (m_bBusy || m_bAsking)
        return;
    while (m_Document.fnCountDone() != done && fnTravel(m_Document.fnCountDone() > done)) {
    }
    fnUpdateSteps(); // the row that was clicked isn't reached after an abort
}

} // namespace darkroom
