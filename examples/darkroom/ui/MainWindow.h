#pragma once

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/ui/Clipboard.h"
#include "examples/darkroom/ui/HostSetup.h"
#include "examples/darkroom/ui/PictureView.h"
#include "examples/darkroom/ui/Printing.h"
#include "examples/darkroom/ui/Recovery.h"
#include "q32Base/services/CqDumpBin.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <QDateTime>
#include <QMainWindow>
#include <QSettings>
#include <QTimer>

class QCheckBox;
class QLabel;
class QListWidget;
class QPrinter;
class QProgressBar;
class QSpinBox;
class QToolBar;

namespace darkroom {

struct ActionEntry;
class ColorButton;
class PreviewDialog;
class RecentFiles;
class SoundPanel;

/// The darkroom's window: one picture, its operations and tools, and their progress. The library
/// must stay attached for the window's lifetime.
///
/// Every action is a QAction named by its id in the tables, so that scripts and tests can find it.
/// While one of them runs, all are disabled.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(const HostSetup& setup, QWidget* parent = nullptr);
    ~MainWindow() override;

    Document& fnGetDocument() { return m_Document; }
    PictureView& fnGetView() { return *m_pView; }
    bool fnIsBusy() const { return m_bBusy; }

    using Work = std::function<Outcome(CqProgressDisplay*)>;

    /// Runs a task with the progress gauge, the busy cursor and Esc while nothing else can be
    /// started, and shows its final message. An exception counts as exhausted memory.
    /// @param what  name of the task for the user
    /// @return false when the task failed or was aborted, or when another one is running
    bool fnRun(const QString& what, const Work& work);

    /// Opens a picture in place of the present one, without asking. Failures are shown.
    /// @param partial  shows a damaged file as far as it goes
    bool fnOpen(const QString& path, bool partial = false);
    bool fnSaveAs(const QString& path);
    /// Asks whether to open the changes that a program which was killed has left. For the start.
    void fnOfferRecovery();
    /// The same, and then opens a picture, if a path is given.
    void fnStart(const QString& picture);
    /// Begins to keep a copy of unsaved changes, unless the user is at work. Called now and then.
    void fnKeepCopy();
    bool fnIsKeepingCopy() const { return m_Recovery.fnIsWriting(); }
    /// Loads a second picture and asks how to lay it over this one.
    void fnMerge(const QString& path);
    /// Prints the picture, into a PDF file if the printer is one. Failures are shown.
    bool fnPrint(QPrinter& printer, PrintSize size);
    /// Loads a second picture and asks how to tile it over the selection, or over all of this one.
    void fnFillPattern(const QString& path);

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    static constexpr int kMessageMs = 4000; ///< how long the status bar shows a message
    /// Copying less than so many bytes takes less time than showing that it takes time.
    static constexpr std::uint64_t kShownBytes = std::uint64_t{32} << 20;

    class Busy;

    // MainWindow.cpp
    /// What the view's pixels depend on.
    struct Look {
        std::uint32_t m_nState;
        std::uint32_t m_nGamma; ///< 0 for none
        bool operator==(const Look&) const = default;
    };
    Look fnGetLook() const;
    void fnShowChange(const Look& look);
    Outcome fnWork(const QString& what, const Work& work);
    /// Shows the picture and how a task ended.
    void fnFinish(const Outcome& outcome, const QString& message);
    void fnUpdate();
    void fnUpdateActions();
    void fnUpdateHistory();
    void fnShowColors();
    void fnUpdateStatus();
    void fnShowPointed(const QPointF& place);

    // MainWindowSetup.cpp
    void fnMakeActions();
    void fnMakeToolBars();
    /// Adds an option that is shown while one of these tools is chosen.
    void fnAddOption(QToolBar& bar, QWidget& option, std::initializer_list<const char*> tools);
    void fnMakeIcons();
    void fnMakeStatusBar();
    void fnMakeSoundPanel(const HostSetup& setup);
    void fnMakeHistoryPanel();
    QAction* fnAddAction(const ActionEntry& entry);
    void fnAddOperations();
    void fnAddTools();
    QMenu* fnFindMenu(const char* title);

    // MainWindowFiles.cpp
    QString fnGetOwnPath() const;
    /// The same, or where a recovered picture was.
    QString fnGetProposedPath() const;
    /// Of the picture, for the user.
    QString fnGetName() const;
    bool fnMayLeave();
    void fnOpenSoon(const QString& path);
    void fnOpenAsked();
    /// What a file at that path would lack of the picture.
    /// @param extras  also what the picture's present file holds besides it
    QStringList fnListLosses(const QString& path, bool extras) const;
    static QString fnMakeList(const QStringList& losses);
    bool fnMayLose(const QString& path, bool extras);
    void fnChooseName(bool asksForExtras);
    /// Asks for the options of a format, if it has any, or of all formats, and keeps them in the
    /// settings. False when the user cancelled.
    bool fnMayWrite(std::optional<PICTURE_FORMAT> format);

    // MainWindowFiles.cpp and MainWindowCommands.cpp; named by the table of actions
    friend struct ActionTable;
    void fnNew();
    void fnAskOpen();
    void fnAskOpenDamaged();
    void fnAskSaveOptions();
    void fnSave();
    void fnAskSaveAs();
    void fnUndo();
    void fnRedo();
    void fnFill();
    void fnSelectAll();
    void fnSelectNone();
    void fnInvertSelection();
    void fnAskSelection();
    void fnCrop();
    void fnAskPattern();
    void fnAskMerge();
    void fnZoomIn();
    void fnZoomOut();
    void fnZoomFit();
    void fnZoomOne();
    void fnAskPreferences();
    void fnShowDump();
    void fnShowAbout();
    void fnAskFeather();

    // MainWindowClipboard.cpp
    void fnCopy();
    void fnCut();
    void fnPasteInto();
    void fnPasteNew();
    Outcome fnFillClip(Clip& clip, CqProgressDisplay* progress);
    bool fnTakeClip(Clip& clip);

    // MainWindowPrinting.cpp
    void fnAskPrint();

    // MainWindowRecovery.cpp
    void fnDropSavedCopy();
    void fnFinishCopy();
    void fnTellUnkept(const Outcome& outcome);
    bool fnOpenRecovered(const QString& name);

    // MainWindowHistory.cpp
    void fnUpdateSteps();
    bool fnTravel(bool back);
    void fnGoToStep(unsigned int done);

    bool fnReadSecond(Document& second, const QString& path);
    /// Asks how to lay a picture over this one, and does it.
    /// @param place  at which the dialog starts
    void fnLay(CqImage& over, const CPoint& place);
    void fnStartOperation(const Operation& operation);
    /// Runs a dialog while only the visible part of the picture can be changed. False when it was
    /// cancelled.
    bool fnAsk(PreviewDialog& dialog);
    std::optional<Values> fnAskValues(const Operation& operation, const Values& start);
    /// Counts what the operation's dialog shows, if that takes its time. False when it was stopped.
    bool fnPrepareHistogram(const Operation& operation);
    void fnAskAndApply(const Operation& operation, const Values& start);
    void fnApply(const Operation& operation, const Values& values);
    void fnOnDrawn(Tool tool, const std::vector<CqPoint2D>& points,
                   Qt::KeyboardModifiers modifiers);
    void fnSelectColor(const CqPoint2D& place, Document::Combine how);
    /// The colour at a position; none outside of the picture.
    std::optional<CqColor> fnFindColor(const CqPoint2D& place);
    void fnStraighten(const CqPoint2D& from, const CqPoint2D& to);
    void fnPlaceSelection(const CRect& place);

    QSettings m_Settings;
    Document m_Document;
    CqDumpBin m_Dump;
    PictureView* m_pView;
    RecentFiles* m_pRecent = nullptr;
    SoundPanel* m_pSound = nullptr;
    QListWidget* m_pSteps = nullptr;
    Clipboard m_Clipboard;
    Recovery m_Recovery;
    QTimer m_KeepSoon;
    bool m_bToldUnkept = false; ///< the user knows that no copy can be kept
    std::vector<unsigned char> m_ShownProfile;
    bool m_bShownGrey = false;
    QProgressBar* m_pGauge = nullptr;
    ColorButton* m_pColor = nullptr;
    QSpinBox* m_pTolerance = nullptr;
    QSpinBox* m_pLineWidth = nullptr;
    QCheckBox* m_pSmooth = nullptr;
    QAction* m_pSmoothEdges = nullptr; ///< of selections
    QLabel* m_pPlace = nullptr;
    QLabel* m_pFacts = nullptr;
    QLabel* m_pMemory = nullptr;
    QLabel* m_pZoom = nullptr;
    std::optional<Look> m_Shown; ///< none: needs to be redrawn
    /// The picture's file as it was opened or saved; another program may change it.
    struct FileStamp {
        qint64 m_nBytes = 0;
        QDateTime m_Time;
        bool operator==(const FileStamp&) const = default;
    };
    static FileStamp fnStamp(const QString& path);
    FileStamp m_Stamp;
    QString m_strAsked; ///< file to open once the event loop runs; empty for none
    bool m_bBusy = false;
    bool m_bAsking = false; ///< a dialog previews something
};

} // namespace darkroom
