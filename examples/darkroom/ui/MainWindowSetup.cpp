// The parts of the main window.
#include "examples/darkroom/ui/Actions.h"
#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/Icons.h"
#include "examples/darkroom/ui/MainWindow.h"
#include "examples/darkroom/ui/RecentFiles.h"
#include "examples/darkroom/ui/SoundPanel.h"
#include "q32Base/messages/ReportMemory.h"

#include <algorithm>
#include <QAction>
#include <QActionGroup>
#include <QCheckBox>
#include <QDockWidget>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QSpinBox>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <vector>

namespace darkroom {

namespace {

constexpr char kSmoothEdgesKey[] = "smoothEdges";
constexpr int kGaugeWidth = 220;
constexpr int kMaxLineWidth = 500;
constexpr int kMaxTolerance = 255;
constexpr int kStartTolerance = 32;

const char* fnGetMenu(MenuPlace place) {
    switch (place) {
    case MenuPlace::ADJUST:
        return kMenuAdjust;
    case MenuPlace::FILTER:
        return kMenuFilter;
    case MenuPlace::IMAGE:
        break;
    }
    return kMenuImage;
}

} // namespace

QMenu* MainWindow::fnFindMenu(const char* title) {
    return menuBar()->findChild<QMenu*>(title, Qt::FindDirectChildrenOnly);
}

QAction* MainWindow::fnAddAction(const ActionEntry& entry) {
    QMenu* const menu = fnFindMenu(entry.m_pszMenu);
    if (!entry.m_pszText)
        return menu->addSeparator();
    QAction* const action = menu->addAction(tr(entry.m_pszText));
    action->setObjectName(entry.m_pszId);
    action->setShortcuts(QKeySequence::listFromString(QString::fromLatin1(entry.m_pszKeys)));
    const auto run = entry.m_pRun;
    connect(action, &QAction::triggered, this,
            [this, run] { q32::fnReportMemory([&] { (this->*run)(); }); });
    return action;
}

void MainWindow::fnMakeActions() {
    for (const char* title : kMenus)
        menuBar()->addMenu(tr(title))->setObjectName(title);
    QMenu* const file = fnFindMenu(kMenuFile);
    for (const ActionEntry& entry : ActionTable::fnGetActions())
        fnAddAction(entry);
    QMenu* const recent = file->addMenu(tr("Open &Recent"));
    m_pRecent = new RecentFiles(m_Settings, *recent, this);
    connect(m_pRecent, &RecentFiles::chosen, this, &MainWindow::fnOpenSoon);
    file->addSeparator();
    QAction* const quit = file->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    quit->setObjectName("quit");
    fnAddOperations();
    fnAddTools();
}

void MainWindow::fnAddOperations() {
    for (const Operation& operation : fnGetOperations()) {
        const QString name = tr(operation.m_pszName);
        QAction* const action =
            fnFindMenu(fnGetMenu(operation.m_eMenu))
                ->addAction(operation.m_Parameters.empty() ? name : name + QChar(0x2026));
        action->setObjectName(operation.m_pszId);
        action->setShortcut(QKeySequence(QString::fromLatin1(operation.m_pszShortcut)));
        connect(action, &QAction::triggered, this,
                [this, &operation] { q32::fnReportMemory([&] { fnStartOperation(operation); }); });
    }
}

void MainWindow::fnAddTools() {
    auto* const group = new QActionGroup(this);
    for (const ToolEntry& entry : fnGetTools()) {
        QAction* const action = fnFindMenu(kMenuTools)->addAction(tr(entry.m_pszText));
        action->setObjectName(entry.m_pszId);
        action->setShortcut(QKeySequence(QString::fromLatin1(entry.m_pszKeys)));
        action->setCheckable(true);
        action->setChecked(entry.m_eTool == Tool::PAN);
        group->addAction(action);
        const Tool tool = entry.m_eTool;
        connect(action, &QAction::triggered, this, [this, tool] { m_pView->fnSetTool(tool); });
    }
    fnFindMenu(kMenuTools)->addSeparator();
    m_pSmoothEdges = fnFindMenu(kMenuTools)->addAction(tr("Smooth Ed&ges of Selections"));
    m_pSmoothEdges->setObjectName("smoothEdges");
    m_pSmoothEdges->setCheckable(true);
    m_pSmoothEdges->setChecked(m_Settings.value(kSmoothEdgesKey, true).toBool());
    connect(m_pSmoothEdges, &QAction::toggled, this,
            [this](bool on) { m_Settings.setValue(kSmoothEdgesKey, on); });
}

void MainWindow::fnMakeToolBars() {
    QToolBar* const bar = addToolBar(tr("Edit"));
    bar->setObjectName("editBar");
    bar->addAction(findChild<QAction*>("open"));
    bar->addAction(findChild<QAction*>("save"));
    bar->addSeparator();
    for (const char* id : {"undo", "redo"})
        bar->addAction(findChild<QAction*>(id));
    bar->addSeparator();
    for (const char* id : {"zoomOut", "zoomIn", "zoomFit", "zoomOne"})
        bar->addAction(findChild<QAction*>(id));

    QToolBar* const tools = addToolBar(tr("Tools"));
    tools->setObjectName("toolBar");
    for (const ToolEntry& entry : fnGetTools())
        tools->addAction(findChild<QAction*>(entry.m_pszId));
    tools->addSeparator();
    m_pColor = new ColorButton(CqColor(255, 0, 0, 255));
    m_pColor->setAccessibleName(tr("Color"));
    m_pColor->setToolTip(tr("Color of lines, curves and fills"));
    tools->addWidget(m_pColor);
    m_pTolerance = new QSpinBox;
    m_pTolerance->setObjectName("tolerance");
    m_pTolerance->setRange(0, kMaxTolerance);
    m_pTolerance->setValue(kStartTolerance);
    m_pTolerance->setPrefix(tr("Tolerance ± "));
    m_pTolerance->setAccessibleName(tr("Tolerance"));
    m_pTolerance->setToolTip(tr("How far a color may differ that is selected by color"));
    fnAddOption(*tools, *m_pTolerance, {"toolColor"});
    m_pLineWidth = new QSpinBox;
    m_pLineWidth->setObjectName("lineWidth");
    m_pLineWidth->setRange(1, kMaxLineWidth);
    m_pLineWidth->setPrefix(tr("Line "));
    m_pLineWidth->setSuffix(tr(" px"));
    m_pLineWidth->setAccessibleName(tr("Line width"));
    m_pLineWidth->setToolTip(
        tr("Width of lines and curves; a pixel where the picture can't mix colors"));
    fnAddOption(*tools, *m_pLineWidth, {"toolLine", "toolCurve"});
    m_pSmooth = new QCheckBox(tr("Smooth"));
    m_pSmooth->setObjectName("smooth");
    m_pSmooth->setToolTip(tr("Draw lines and curves with soft edges"));
    fnAddOption(*tools, *m_pSmooth, {"toolLine", "toolCurve"});
    auto* const edges = new QCheckBox(tr("Smooth edges"));
    edges->setObjectName("smoothEdgesBox");
    edges->setToolTip(
        tr("Ellipses and freehand shapes select a pixel at the edge by its share inside"));
    edges->setChecked(m_pSmoothEdges->isChecked());
    connect(edges, &QCheckBox::toggled, m_pSmoothEdges, &QAction::setChecked);
    connect(m_pSmoothEdges, &QAction::toggled, edges, &QCheckBox::setChecked);
    fnAddOption(*tools, *edges, {"toolEllipse", "toolFreehand"});
    fnMakeIcons();
}

void MainWindow::fnAddOption(QToolBar& bar, QWidget& option,
                             std::initializer_list<const char*> tools) {
    QAction* const shown = bar.addWidget(&option);
    std::vector<const QAction*> actions;
    for (const char* tool : tools)
        actions.push_back(findChild<QAction*>(tool));
    const auto update = [shown, actions] {
        shown->setVisible(std::any_of(actions.begin(), actions.end(),
                                      [](const QAction* action) { return action->isChecked(); }));
    };
    for (const QAction* action : actions)
        connect(action, &QAction::toggled, shown, update);
    update();
}

void MainWindow::fnMakeIcons() {
    findChild<QAction*>("open")->setIcon(style()->standardIcon(QStyle::SP_DialogOpenButton));
    findChild<QAction*>("save")->setIcon(style()->standardIcon(QStyle::SP_DialogSaveButton));
    for (QAction* action : findChildren<QAction*>())
        if (const QIcon icon = fnMakeIcon(action->objectName().toLatin1(), palette());
            !icon.isNull())
            action->setIcon(icon);
}

void MainWindow::fnMakeStatusBar() {
    m_pGauge = new QProgressBar;
    m_pGauge->setAccessibleName(tr("Progress"));
    m_pGauge->hide();
    m_pGauge->setFixedWidth(kGaugeWidth);
    statusBar()->addPermanentWidget(m_pGauge);
    for (QLabel** label : {&m_pPlace, &m_pFacts, &m_pMemory, &m_pZoom}) {
        *label = new QLabel;
        statusBar()->addPermanentWidget(*label);
    }
}

void MainWindow::fnMakeSoundPanel(const HostSetup& setup) {
    auto* const dock = new QDockWidget(tr("Sound"), this);
    dock->setObjectName("soundDock");
    m_pSound = new SoundPanel(
        setup, [this](const QString& what, const Work& work) { return fnRun(what, work); });
    m_pSound->setObjectName("soundPanel");
    dock->setWidget(m_pSound);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    dock->hide();
    QMenu* const view = fnFindMenu(kMenuView);
    view->addSeparator();
    dock->toggleViewAction()->setObjectName("sound");
    dock->toggleViewAction()->setShortcut(QKeySequence(QStringLiteral("F9")));
    view->addAction(dock->toggleViewAction());
}

} // namespace darkroom
