#include "examples/darkroom/ui/MainWindow.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/ui/Actions.h"
#include "examples/darkroom/ui/FailureText.h"
#include "examples/darkroom/ui/RecoveryFolders.h"
#include "examples/darkroom/ui/ScreenColors.h"
#include "examples/darkroom/ui/SoundPanel.h"
#include "examples/darkroom/ui/Texts.h"
#include "platforms/qt/CqQtWindows.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/messages/ReportMemory.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <utility>

namespace darkroom {

namespace {

constexpr QSize kStartSize(1100, 760);
constexpr double kScreenShare = 0.9; ///< leaves room for the frame

/// Anybody may have edited the settings file.
unsigned int fnReadLevels(const QSettings& settings) {
    bool known = false;
    const qlonglong levels = settings.value("levels", kUsualLevels).toLongLong(&known);
    return known && levels >= 0 ? static_cast<unsigned int>(std::min<qlonglong>(levels, kMaxLevels))
                                : kUsualLevels;
}

} // namespace

/// The window's state while a task is running.
class MainWindow::Busy {
public:
    explicit Busy(MainWindow& window) : m_Window(window) { m_Window.m_bBusy = true; }
    ~Busy() {
        m_Window.m_pGauge->hide();
        QApplication::restoreOverrideCursor();
        m_Window.m_bBusy = false;
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

    /// Separate from the constructor, since memory may run out.
    void fnShow(const QString& what) {
        QApplication::setOverrideCursor(Qt::BusyCursor);
        m_Window.m_pGauge->show();
        m_Window.fnUpdateActions();
        m_Window.statusBar()->showMessage(tr("%1 … Esc stops").arg(what));
        // Removes a dialog that has just closed from the screen now, because paint events wait
        // while a task is running. User input and timers wait too.
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                        QEventLoop::ExcludeSocketNotifiers |
                                        QEventLoop::X11ExcludeTimers);
        m_Window.repaint();
    }

private:
    MainWindow& m_Window;
};

MainWindow::MainWindow(const HostSetup& setup, QWidget* parent)
    : QMainWindow(parent), m_Settings(setup.m_strSettings, QSettings::IniFormat),
      m_Document(fnReadLevels(m_Settings)), m_pView(new PictureView(m_Document)),
      m_Recovery(
          [beside = QFileInfo(setup.m_strSettings).dir().filePath("recovery")] {
              return fnFindRecoveryFolders(beside);
          },
          [this] {
              QMetaObject::invokeMethod(this, &MainWindow::fnFinishCopy, Qt::QueuedConnection);
          }) {
    setCentralWidget(m_pView);
    setAcceptDrops(true);
    m_pView->viewport()->setAcceptDrops(false); // the window handles drops itself
    resize(kStartSize.boundedTo(screen()->availableSize() * kScreenShare));
    fnMakeActions();
    fnMakeToolBars();
    fnMakeStatusBar();
    fnMakeSoundPanel(setup);
    fnMakeHistoryPanel();
    restoreGeometry(m_Settings.value("geometry").toByteArray());
    restoreState(m_Settings.value("windows").toByteArray());
    m_Document.fnSetListener([this] { fnUpdate(); });
    connect(m_pView, &CqImageView::zoomChanged, this, &MainWindow::fnUpdateStatus);
    connect(m_pView, &CqImageView::pointed, this,
            [this](const QPointF& place) { q32::fnTryMemory([&] { fnShowPointed(place); }); });
    connect(
        m_pView, &PictureView::drawn, this,
        [this](Tool tool, const std::vector<CqPoint2D>& points, Qt::KeyboardModifiers modifiers) {
            q32::fnReportMemory([&] { fnOnDrawn(tool, points, modifiers); });
        });
    connect(m_pView, &PictureView::placed, this,
            [this](const CRect& place) { q32::fnReportMemory([&] { fnPlaceSelection(place); }); });
    connect(&m_KeepSoon, &QTimer::timeout, this,
            [this] { q32::fnTryMemory([&] { fnKeepCopy(); }); });
    fnKeepCopy(); // nothing yet, but the next time is set
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
    const Outcome outcome = fnWork(what, work);
    if (!outcome.fnIsDone())
        m_Shown.reset(); // the view may have drawn a state in between
    fnFinish(outcome, outcome.m_bAborted ? tr("%1: stopped").arg(what) : QString());
    if (!m_strAsked.isEmpty()) // the window was busy when it arrived
        fnOpenSoon(m_strAsked);
    return outcome.fnIsDone();
}

void MainWindow::fnFinish(const Outcome& outcome, const QString& message) {
    fnUpdate();
    const unsigned int dropped = m_Document.fnTakeDropped();
    const QString news =
        dropped == 0   ? message
        : dropped == 1 ? tr("To make room, one step of the history was dropped")
                       : tr("To make room, %1 steps of the history were dropped").arg(dropped);
    statusBar()->showMessage(news, kMessageMs);
    fnShowFailure(outcome,
                  fnCountBytes(m_Document.fnGetImage().Width, m_Document.fnGetImage().Height,
                               m_Document.fnGetImage().BitCount));
}

Outcome MainWindow::fnWork(const QString& what, const Work& work) {
    Busy busy(*this);
    try {
        busy.fnShow(what);
        CqQtProgressCtrl gauge(m_pGauge);
        CqProgressDisplay progress(&gauge);
        return work(&progress);
    } catch (CException* failure) {
        failure->Delete();
    } catch (const std::exception&) {
        // From the standard library's containers.
    }
    Outcome outcome;
    outcome.m_nMsgId = MESSAGE_NO_MEMORY;
    return outcome;
}

MainWindow::Look MainWindow::fnGetLook() const {
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    return {m_Document.fnGetState(), display.fnIsGammaEnabled() ? display.fnGetGammaValue() : 0};
}

void MainWindow::fnShowChange(const Look& look) {
    std::optional<std::vector<CRect>> parts;
    if (m_Shown && m_Shown->m_nGamma == look.m_nGamma)
        parts = m_Document.fnFindChanges(m_Shown->m_nState);
    if (!parts)
        return m_pView->fnImageChanged();
    for (const CRect& part : *parts)
        m_pView->fnImageChanged(part);
}

void MainWindow::fnUpdate() {
    if (m_bBusy)
        return; // deferred to the end
    CqImage& image = m_Document.fnGetImage();
    CqImage* const shown = m_Document.fnHasImage() ? &image : nullptr;
    fnShowColors();
    const Look look = fnGetLook();
    if (m_pView->fnGetImage() != shown)
        m_pView->fnSetImage(shown);
    else if (m_Shown != look)
        fnShowChange(look);
    m_Shown = look;
    m_pView->fnSelectionChanged();
    m_pPlace->clear(); // its colour belonged to another picture
    setWindowTitle(shown ? tr("%1[*] - Darkroom").arg(fnGetName()) : tr("Darkroom"));
    setWindowFilePath(QString());
    setWindowModified(m_Document.IsModified() != 0);
    fnDropSavedCopy();
    fnUpdateActions();
    fnUpdateStatus();
}

/// Sets the conversion to the screen's colours that the picture's profile asks for.
void MainWindow::fnShowColors() {
    const std::vector<unsigned char>& profile = m_Document.fnGetMetadata().m_Profile;
    const CqImage& image = m_Document.fnGetImage();
    const bool grey = m_Document.fnHasImage() && image.BitCount == 8 && image.fnIsGrayScale();
    if (profile == m_ShownProfile && grey == m_bShownGrey)
        return;
    m_pView->fnSetColors(fnMakeScreenColors(profile, grey));
    m_ShownProfile = profile;
    m_bShownGrey = grey;
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
    // The items outside the tables too: recent files, quit.
    const bool idle = !m_bBusy && !m_bAsking;
    menuBar()->setEnabled(idle);
    m_pSound->fnEnableLoading(idle);
    m_pSteps->setEnabled(idle);
    for (const ActionEntry& entry : ActionTable::fnGetActions())
        if (entry.m_pszId)
            findChild<QAction*>(entry.m_pszId)
                ->setEnabled(allows(entry.m_eNeeds) && (idle || entry.m_pszMenu == kMenuView));
    for (const ToolEntry& entry : fnGetTools())
        findChild<QAction*>(entry.m_pszId)->setEnabled(idle && allows(entry.m_eNeeds));
    for (const Operation& operation : fnGetOperations())
        findChild<QAction*>(operation.m_pszId)
            ->setEnabled(idle && picture && operation.fnSuits(m_Document.fnGetImage()));
    if (!idle)
        return;
    // A tool that is now disabled would work on a picture of an unsupported kind.
    for (const ToolEntry& entry : fnGetTools())
        if (entry.m_eTool == m_pView->fnGetTool() && !allows(entry.m_eNeeds))
            findChild<QAction*>("toolPan")->trigger();
    fnUpdateHistory();
}

void MainWindow::fnUpdateHistory() {
    auto* const undo = findChild<QAction*>("undo");
    auto* const redo = findChild<QAction*>("redo");
    CqQtCmdUI undoItem(ID_EDIT_UNDO, undo);
    CqQtCmdUI redoItem(ID_EDIT_REDO, redo);
    m_Document.fnUpdateMenu(undoItem);
    m_Document.fnUpdateMenu(redoItem);
    undo->setText(m_Document.fnCanUndo()
                      ? tr("&Undo %1").arg(tr(m_Document.fnGetUndoName().c_str()))
                      : tr("&Undo"));
    redo->setText(m_Document.fnCanRedo()
                      ? tr("&Redo %1").arg(tr(m_Document.fnGetRedoName().c_str()))
                      : tr("&Redo"));
    // Selections are newer than the last change of the picture.
    if (m_Document.fnCanUndoSelection()) {
        undo->setEnabled(true);
        undo->setText(tr("&Undo Selection"));
    }
    if (m_Document.fnCanRedoSelection()) {
        redo->setEnabled(true);
        redo->setText(tr("&Redo Selection"));
    }
    fnUpdateSteps();
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
        tr("Memory %1, disk %2").arg(fnFormatSize(policy.fnGetRamBytes()), fnFormatSize(onDisk)));
    m_pZoom->setText(picture ? tr("%1 %").arg(m_pView->fnGetZoom() * 100, 0, 'g', 4) : QString());
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
        tr("%1, %2: %3 %4 %5").arg(x).arg(y).arg(color.m_Red).arg(color.m_Green).arg(color.m_Blue) +
        (image.BitCount == 32 ? tr(", alpha %1").arg(color.m_Alpha) : QString()));
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_pGauge) // not before all parts exist
        fnMakeIcons();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    bool leaves = false;
    q32::fnReportMemory([&] { leaves = fnMayLeave(); });
    if (!leaves)
        return event->ignore();
    m_Settings.setValue("geometry", saveGeometry());
    m_Settings.setValue("windows", saveState());
    m_Recovery.fnDrop(); // saved, or discarded by the user
    q32DestroyDumpWnd();
    event->accept();
}

} // namespace darkroom
