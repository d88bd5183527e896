#include "examples/darkroom/ui/MainWindow.h"

#include "examples/darkroom/ui/Actions.h"
#include "examples/darkroom/ui/RecentFiles.h"
#include "examples/darkroom/ui/Texts.h"
#include "platforms/qt/CqQtWindows.h"
#include "q32Base/frame/Messages.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <cmath>
#include <QAction>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QStatusBar>
#include <QUrl>

namespace darkroom {

namespace {

constexpr unsigned int kStartLevels = 10;
constexpr QSize kStartSize(1100, 760);
constexpr int kMessageMs = 4000;

/// The file of a drag; empty for anything else.
QString fnFindFile(const QMimeData& data) {
    const QList<QUrl> urls = data.urls();
    return urls.size() == 1 ? urls.front().toLocalFile() : QString();
}

} // namespace

MainWindow::MainWindow(const HostSetup& setup, QWidget* parent)
    : QMainWindow(parent), m_Settings(setup.m_strSettings, QSettings::IniFormat),
      m_Document(m_Settings.value("levels", kStartLevels).toUInt()),
      m_pView(new PictureView(m_Document)) {
    setCentralWidget(m_pView);
    setAcceptDrops(true);
    m_pView->viewport()->setAcceptDrops(false); // the window takes them
    resize(kStartSize);
    fnMakeActions();
    fnMakeToolBars();
    fnMakeStatusBar();
    fnMakeSoundPanel(setup);
    restoreGeometry(m_Settings.value("geometry").toByteArray());
    restoreState(m_Settings.value("windows").toByteArray());
    m_Document.fnSetListener([this] { fnUpdate(); });
    connect(m_pView, &CqImageView::zoomChanged, this, &MainWindow::fnUpdateStatus);
    connect(m_pView, &CqImageView::pointed, this, &MainWindow::fnShowPointed);
    connect(m_pView, &PictureView::drawn, this, &MainWindow::fnOnDrawn);
    fnUpdate();
    m_pView->setFocus();
}

MainWindow::~MainWindow() {
    m_Document.fnSetListener({});
    m_pView->fnSetImage(nullptr);
}

bool MainWindow::fnRun(const QString& what, const Work& work) {
    if (m_bBusy)
        return false;
    m_bBusy = true;
    fnUpdateActions();
    statusBar()->showMessage(tr("%1 … Esc stops").arg(what));
    m_pGauge->show();
    setCursor(Qt::BusyCursor);
    statusBar()->repaint();
    Outcome outcome;
    {
        CqQtProgressCtrl gauge(m_pGauge);
        CqProgressDisplay progress(&gauge);
        outcome = work(&progress);
    }
    unsetCursor();
    m_pGauge->hide();
    m_bBusy = false;
    fnUpdate();
    statusBar()->showMessage(outcome.m_bAborted ? tr("%1: stopped").arg(what) : QString(),
                             kMessageMs);
    if (outcome.m_nMsgId != 0)
        q32ShowMsg(outcome.m_nMsgId, nullptr, outcome.m_strPath, nullptr, 0);
    return outcome.fnIsDone();
}

void MainWindow::fnUpdate() {
    if (m_bBusy)
        return; // once, at the end
    CqImage& image = m_Document.fnGetImage();
    CqImage* const shown = m_Document.fnHasImage() ? &image : nullptr;
    if (m_pView->fnGetImage() != shown)
        m_pView->fnSetImage(shown);
    else
        m_pView->fnImageChanged();
    m_pView->fnSelectionChanged();
    const QString path = QString::fromStdString(m_Document.fnGetPath());
    const QString name = path.isEmpty() ? tr("Untitled") : QFileInfo(path).fileName();
    setWindowTitle(shown ? tr("%1[*] - Darkroom").arg(name) : tr("Darkroom"));
    setWindowFilePath(QString());
    setWindowModified(m_Document.IsModified() != 0);
    fnUpdateActions();
    fnUpdateStatus();
}

void MainWindow::fnUpdateActions() {
    const bool picture = m_Document.fnHasImage() && !m_bBusy;
    const bool color = picture && m_Document.fnGetImage().BitCount >= 24;
    const auto allows = [&](Needs needs) {
        switch (needs) {
        case Needs::NOTHING:
            return !m_bBusy;
        case Needs::PICTURE:
            return picture;
        case Needs::COLOR_PICTURE:
            return color;
        case Needs::SELECTABLE:
            return picture && m_Document.fnCanSelect();
        case Needs::SELECTION:
            return picture && m_Document.fnHasSelection();
        }
        return false;
    };
    // The items that are in no table too: recent files, the end.
    menuBar()->setEnabled(!m_bBusy);
    for (const ActionEntry& entry : ActionTable::fnGetActions())
        if (entry.m_pszId)
            findChild<QAction*>(entry.m_pszId)->setEnabled(allows(entry.m_eNeeds));
    for (const ToolEntry& entry : fnGetTools())
        findChild<QAction*>(entry.m_pszId)->setEnabled(allows(entry.m_eNeeds));
    for (const Operation& operation : fnGetOperations())
        findChild<QAction*>(operation.m_pszId)
            ->setEnabled(picture && operation.fnSuits(m_Document.fnGetImage()));
    if (m_bBusy)
        return;
    auto* const undo = findChild<QAction*>("undo");
    auto* const redo = findChild<QAction*>("redo");
    CqQtCmdUI undoItem(ID_EDIT_UNDO, undo);
    CqQtCmdUI redoItem(ID_EDIT_REDO, redo);
    m_Document.fnUpdateMenu(undoItem);
    m_Document.fnUpdateMenu(redoItem);
    undo->setText(m_Document.fnCanUndo()
                      ? tr("&Undo %1").arg(QString::fromStdString(m_Document.fnGetUndoName()))
                      : tr("&Undo"));
    redo->setText(m_Document.fnCanRedo()
                      ? tr("&Redo %1").arg(QString::fromStdString(m_Document.fnGetRedoName()))
                      : tr("&Redo"));
}

void MainWindow::fnUpdateStatus() {
    const CqImage& image = m_Document.fnGetImage();
    const bool picture = m_Document.fnHasImage();
    m_pFacts->setText(
        picture ? tr("%1 × %2, %3 bits").arg(image.Width).arg(image.Height).arg(image.BitCount)
                : QString());
    const CqVMPolicy& policy = *q32GetVMPolicy();
    std::uint64_t onDisk = 0;
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
        onDisk += policy.fnGetDiskUsage(i).m_nBytes;
    m_pMemory->setText(
        tr("Memory %1, disk %2").arg(fnTellSize(policy.fnGetRamUsed()), fnTellSize(onDisk)));
    m_pZoom->setText(picture ? tr("%1 %").arg(m_pView->fnGetZoom() * 100, 0, 'g', 4) : QString());
    if (!picture)
        m_pPlace->clear();
}

void MainWindow::fnShowPointed(const QPointF& place) {
    CqImage& image = m_Document.fnGetImage();
    const double x = std::floor(place.x());
    const double y = std::floor(place.y());
    if (m_bBusy || !m_Document.fnHasImage() || x < 0 || y < 0 || x >= image.Width ||
        y >= image.Height)
        return m_pPlace->clear();
    const CqColor color = image.fnGetPixelColor(static_cast<int>(x), static_cast<int>(y));
    m_pPlace->setText(
        tr("%1, %2: %3 %4 %5").arg(x).arg(y).arg(color.m_Red).arg(color.m_Green).arg(color.m_Blue));
}

bool MainWindow::fnMayLeave() {
    if (m_bBusy)
        return false;
    if (m_Document.IsModified() == 0)
        return true;
    const auto answer = QMessageBox::question(
        this, tr("Darkroom"), tr("The picture has changes that aren't saved. Save them?"),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    if (answer == QMessageBox::Save) {
        fnSave();
        return m_Document.IsModified() == 0;
    }
    return answer == QMessageBox::Discard;
}

bool MainWindow::fnOpen(const QString& path) {
    const bool done =
        fnRun(tr("Opening %1").arg(QFileInfo(path).fileName()), [&](CqProgressDisplay* progress) {
            return m_Document.fnOpen(QFile::encodeName(path).toStdString(), progress);
        });
    if (done) {
        m_pRecent->fnAdd(path);
        m_pView->fnSetFit(true);
    } else if (!QFileInfo::exists(path)) {
        m_pRecent->fnRemove(path);
    }
    return done;
}

bool MainWindow::fnSaveAs(const QString& path) {
    const bool done =
        fnRun(tr("Saving %1").arg(QFileInfo(path).fileName()), [&](CqProgressDisplay* progress) {
            return m_Document.fnSave(QFile::encodeName(path).toStdString(), progress);
        });
    if (done)
        m_pRecent->fnAdd(path);
    return done;
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_pGauge) // not before all parts are made
        fnMakeIcons();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!fnMayLeave())
        return event->ignore();
    m_Settings.setValue("geometry", saveGeometry());
    m_Settings.setValue("windows", saveState());
    q32DestroyDumpWnd();
    event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!m_bBusy && !fnFindFile(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    const QString path = fnFindFile(*event->mimeData());
    if (path.isEmpty() || m_bBusy)
        return;
    event->acceptProposedAction();
    if (fnMayLeave())
        fnOpen(path);
}

} // namespace darkroom
