#include "examples/darkroom/ui/Actions.h"
#include "examples/darkroom/ui/MainWindow.h"

namespace darkroom {

std::span<const ActionEntry> ActionTable::fnGetActions() {
    static const ActionEntry kActions[] = {
        {"new", "&New…", "Ctrl+N", kMenuFile, Needs::NOTHING, &MainWindow::fnNew},
        {"open", "&Open…", "Ctrl+O", kMenuFile, Needs::NOTHING, &MainWindow::fnAskOpen},
        {"openDamaged", "Open &Damaged…", "", kMenuFile, Needs::NOTHING,
         &MainWindow::fnAskOpenDamaged},
        {"save", "&Save", "Ctrl+S", kMenuFile, Needs::PICTURE, &MainWindow::fnSave},
        {"saveAs", "Save &As…", "Ctrl+Shift+S", kMenuFile, Needs::PICTURE,
         &MainWindow::fnAskSaveAs},
        {"saveOptions", "Saving Op&tions…", "", kMenuFile, Needs::NOTHING,
         &MainWindow::fnAskSaveOptions},
        {"print", "&Print…", "Ctrl+P", kMenuFile, Needs::PICTURE, &MainWindow::fnAskPrint},
        {"undo", "&Undo", "Ctrl+Z", kMenuEdit, Needs::PICTURE, &MainWindow::fnUndo},
        {"redo", "&Redo", "Ctrl+Shift+Z", kMenuEdit, Needs::PICTURE, &MainWindow::fnRedo},
        {nullptr, nullptr, "", kMenuEdit, Needs::NOTHING, nullptr},
        {"cut", "Cu&t", "Ctrl+X", kMenuEdit, Needs::SELECTABLE, &MainWindow::fnCut},
        {"copy", "C&opy", "Ctrl+C", kMenuEdit, Needs::PICTURE, &MainWindow::fnCopy},
        {"paste", "&Paste Into…", "Ctrl+V", kMenuEdit, Needs::SELECTABLE, &MainWindow::fnPasteInto},
        {"pasteNew", "Paste as N&ew", "Ctrl+Shift+V", kMenuEdit, Needs::NOTHING,
         &MainWindow::fnPasteNew},
        {nullptr, nullptr, "", kMenuEdit, Needs::NOTHING, nullptr},
        {"fill", "&Fill with Color…", "Ctrl+F", kMenuEdit, Needs::COLOR_PICTURE,
         &MainWindow::fnFill},
        {"fillPattern", "Fill &with Pattern…", "", kMenuEdit, Needs::COLOR_PICTURE,
         &MainWindow::fnAskPattern},
        {"merge", "&Merge a Picture…", "Ctrl+M", kMenuEdit, Needs::SELECTABLE,
         &MainWindow::fnAskMerge},
        {nullptr, nullptr, "", kMenuEdit, Needs::NOTHING, nullptr},
        {"selectAll", "Select &All", "Ctrl+A", kMenuEdit, Needs::SELECTABLE,
         &MainWindow::fnSelectAll},
        {"selectNone", "Select &None", "Ctrl+D", kMenuEdit, Needs::SELECTION,
         &MainWindow::fnSelectNone},
        {"selectInverse", "&Invert Selection", "Ctrl+I", kMenuEdit, Needs::SELECTABLE,
         &MainWindow::fnInvertSelection},
        {"feather", "Feat&her Selection…", "", kMenuEdit, Needs::SELECTION,
         &MainWindow::fnAskFeather},
        {"selectNumbers", "Select by Num&bers…", "", kMenuEdit, Needs::SELECTABLE,
         &MainWindow::fnAskSelection},
        {nullptr, nullptr, "", kMenuEdit, Needs::NOTHING, nullptr},
        {"crop", "&Crop to Selection", "", kMenuImage, Needs::SELECTION, &MainWindow::fnCrop},
        {"preferences", "Preference&s…", "Ctrl+,", kMenuEdit, Needs::NOTHING,
         &MainWindow::fnAskPreferences},
        {"zoomIn", "Zoom &In", "Ctrl++; Ctrl+=", kMenuView, Needs::PICTURE, &MainWindow::fnZoomIn},
        {"zoomOut", "Zoom &Out", "Ctrl+-", kMenuView, Needs::PICTURE, &MainWindow::fnZoomOut},
        {"zoomFit", "&Fit", "Ctrl+0", kMenuView, Needs::PICTURE, &MainWindow::fnZoomFit},
        {"zoomOne", "&Pixel by Pixel", "Ctrl+1", kMenuView, Needs::PICTURE, &MainWindow::fnZoomOne},
        {"dump", "&Dump Window", "F12", kMenuHelp, Needs::NOTHING, &MainWindow::fnShowDump},
        {"about", "&About", "", kMenuHelp, Needs::NOTHING, &MainWindow::fnShowAbout},
    };
    return kActions;
}

} // namespace darkroom
