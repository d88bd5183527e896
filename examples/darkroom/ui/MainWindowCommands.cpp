// What the actions of the main window do.
#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Shapes.h"
#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/FileDialogs.h"
#include "examples/darkroom/ui/MainWindow.h"
#include "examples/darkroom/ui/MergeDialog.h"
#include "examples/darkroom/ui/ParameterDialog.h"
#include "examples/darkroom/ui/PatternDialog.h"
#include "examples/darkroom/ui/PreferencesDialog.h"
#include "examples/darkroom/ui/SelectionDialog.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/module/Module.h"
#include "q32Base/operations/Blur.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <QCheckBox>
#include <QFile>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QSpinBox>
#include <utility>

namespace darkroom {

namespace {

constexpr int kDumpBytes = 256;
constexpr int kDumpPerLine = 16;

Document::Combine fnGetCombine(Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::ShiftModifier)
        return Document::Combine::ADD;
    return modifiers & Qt::ControlModifier ? Document::Combine::SUBTRACT
                                           : Document::Combine::REPLACE;
}

} // namespace

void MainWindow::fnUndo() {
    if (m_bBusy)
        return;
    m_Document.fnCanUndoSelection() ? m_Document.fnUndoSelection() : void(fnTravel(true));
}

void MainWindow::fnRedo() {
    if (m_bBusy)
        return;
    m_Document.fnCanRedoSelection() ? m_Document.fnRedoSelection() : void(fnTravel(false));
}

void MainWindow::fnFill() {
    const auto color = static_cast<unsigned long>(m_pColor->fnGetColor());
    const Operation& fill = fnGetFillOperation();
    const std::optional<Values> values = fnAskValues(fill, {static_cast<int>(color)});
    if (!values)
        return;
    m_pColor->fnSetColor(CqColor(static_cast<unsigned long>(values->front())));
    fnApply(fill, *values);
}

void MainWindow::fnSelectAll() {
    fnRun(tr("Selecting"),
          [&](CqProgressDisplay* progress) { return m_Document.fnSelectAll(progress); });
}

void MainWindow::fnInvertSelection() {
    fnRun(tr("Selecting"),
          [&](CqProgressDisplay* progress) { return m_Document.fnInvertSelection(progress); });
}

void MainWindow::fnAskFeather() {
    constexpr double kStart = 5;
    bool chosen = false;
    const double radius =
        QInputDialog::getDouble(this, tr("Feather Selection"), tr("&Radius in pixels:"), kStart,
                                0.1, kMaxBlurSigma, 1, &chosen);
    if (chosen)
        fnRun(tr("Selecting"),
              [&](CqProgressDisplay* progress) { return m_Document.fnFeather(radius, progress); });
}

void MainWindow::fnPlaceSelection(const CRect& place) {
    fnRun(tr("Selecting"), [&](CqProgressDisplay* progress) {
        return m_Document.fnPlaceSelection(place, progress);
    });
}

void MainWindow::fnAskSelection() {
    CRect place;
    {
        SelectionDialog dialog(*m_pView, this);
        if (dialog.exec() != QDialog::Accepted)
            return;
        place = dialog.fnGetPlace();
    }
    fnPlaceSelection(place);
}

void MainWindow::fnStraighten(const CqPoint2D& from, const CqPoint2D& to) {
    constexpr double kRight = 90 * kDegree;
    const double angle =
        std::atan2(to.m_Y - from.m_Y, to.m_X - from.m_X) * 2 * kRight / std::numbers::pi;
    // To the nearest of horizontal and vertical.
    const double lean = angle - kRight * std::round(angle / kRight);
    const Operation& rotate = *fnFindOperation("rotate");
    Values values = rotate.fnGetStart(m_Document.fnGetImage());
    values[0] = static_cast<int>(std::lround(-lean));
    fnAskAndApply(rotate, values);
}

void MainWindow::fnSelectNone() {
    m_Document.fnSelectNone();
}

void MainWindow::fnCrop() {
    fnRun(tr("Crop"), [&](CqProgressDisplay* progress) { return m_Document.fnCrop(progress); });
}

void MainWindow::fnZoomIn() {
    m_pView->fnStepZoom(1);
}

void MainWindow::fnZoomOut() {
    m_pView->fnStepZoom(-1);
}

void MainWindow::fnZoomFit() {
    m_pView->fnSetFit(true);
}

void MainWindow::fnZoomOne() {
    m_pView->fnSetZoom(1);
}

void MainWindow::fnStartOperation(const Operation& operation) {
    if (m_bBusy || !operation.fnSuits(m_Document.fnGetImage()))
        return;
    if (operation.m_Parameters.empty())
        fnApply(operation, {});
    else
        fnAskAndApply(operation, operation.fnGetStart(m_Document.fnGetImage()));
}

void MainWindow::fnAskAndApply(const Operation& operation, const Values& start) {
    if (const auto values = fnAskValues(operation, start))
        fnApply(operation, *values);
}

bool MainWindow::fnPrepareHistogram(const Operation& operation) {
    const CqImage& image = m_Document.fnGetImage();
    const bool shown =
        operation.m_bHistogram || (!operation.m_Parameters.empty() &&
                                   operation.m_Parameters.back().m_eKind == ParameterKind::CURVE);
    if (!shown || m_Document.fnGetHistogram() ||
        fnCountBytes(image.Width, image.Height, image.BitCount) < kShownBytes)
        return true;
    return fnRun(tr("Counting"), [&](CqProgressDisplay* progress) {
        return m_Document.fnCountHistogram(progress);
    });
}

std::optional<Values> MainWindow::fnAskValues(const Operation& operation, const Values& start) {
    if (!fnPrepareHistogram(operation))
        return std::nullopt;
    // Its preview is gone before the operation runs.
    ParameterDialog dialog(operation, start, *m_pView);
    return fnAsk(dialog) ? std::optional(dialog.fnGetValues()) : std::nullopt;
}

bool MainWindow::fnAsk(PreviewDialog& dialog) {
    constexpr QPoint kInset(24, 96);
    const Tool tool = m_pView->fnGetTool();
    m_bAsking = true;
    m_pView->fnSetTool(Tool::PAN);
    fnUpdateActions();
    dialog.adjustSize();
    dialog.move(geometry().topRight() + QPoint(-dialog.width() - kInset.x(), kInset.y()));
    const bool accepted = dialog.exec() == QDialog::Accepted;
    m_bAsking = false;
    m_pView->fnSetTool(tool);
    fnUpdateActions();
    return accepted;
}

void MainWindow::fnApply(const Operation& operation, const Values& values) {
    fnRun(tr(operation.m_pszName), [&](CqProgressDisplay* progress) {
        return m_Document.fnApply(operation, values, progress);
    });
}

bool MainWindow::fnReadSecond(Document& second, const QString& path) {
    return fnRun(tr("Reading %1").arg(QFileInfo(path).fileName()),
                 [&](CqProgressDisplay* progress) {
                     const std::string file = QFile::encodeName(path).toStdString();
                     return m_Document.fnWithRoom([&] { return second.fnOpen(file, progress); });
                 });
}

void MainWindow::fnAskPattern() {
    const QString path = fnAskPictureToOpen(this, tr("Fill with Pattern"));
    if (!path.isEmpty())
        fnFillPattern(path);
}

void MainWindow::fnFillPattern(const QString& path) {
    Document pattern(0);
    if (!fnReadSecond(pattern, path))
        return;
    CPoint corner;
    {
        PatternDialog dialog(pattern.fnGetImage(), *m_pView);
        if (!fnAsk(dialog))
            return;
        corner = dialog.fnGetCorner();
    }
    fnRun(tr("Fill with Pattern"), [&](CqProgressDisplay* progress) {
        return m_Document.fnFillPattern(pattern.fnGetImage(), corner, progress);
    });
}

void MainWindow::fnAskMerge() {
    const QString path = fnAskPictureToOpen(this, tr("Merge a Picture"));
    if (!path.isEmpty())
        fnMerge(path);
}

void MainWindow::fnMerge(const QString& path) {
    Document second(0);
    if (fnReadSecond(second, path))
        fnLay(second.fnGetImage(), CPoint(0, 0));
}

void MainWindow::fnLay(CqImage& over, const CPoint& place) {
    MergePlan plan;
    {
        MergeDialog dialog(over, place, m_Document.fnHasSelection(), *m_pView);
        if (!fnAsk(dialog))
            return;
        plan = dialog.fnGetPlan();
    }
    fnRun(tr("Merge"), [&](CqProgressDisplay* progress) {
        return m_Document.fnChange(
            "Merge", fnFindMerged(m_Document.fnGetImage(), over, plan),
            [&](CqImage& image, CqProgressDisplay* bar) {
                CqMask* const selection =
                    m_Document.fnHasSelection() ? &m_Document.fnGetSelection() : nullptr;
                fnMergePicture(image, over, plan, selection, bar);
            },
            progress);
    });
}

void MainWindow::fnOnDrawn(Tool tool, const std::vector<CqPoint2D>& points,
                           Qt::KeyboardModifiers modifiers) {
    if (m_bBusy)
        return;
    if (tool == Tool::STRAIGHTEN)
        return fnStraighten(points.front(), points.back());
    if (tool == Tool::EYEDROPPER) {
        if (const auto color = fnFindColor(points.front()))
            m_pColor->fnSetColor(*color);
        return;
    }
    if (tool == Tool::PICK)
        return fnSelectColor(points.front(), fnGetCombine(modifiers));
    // Takes less time than showing that it takes time.
    if (tool == Tool::LINE || tool == Tool::CURVE)
        return fnFinish(m_Document.fnDraw(
                            points,
                            {m_pColor->fnGetColor(), m_pLineWidth->value(), m_pSmooth->isChecked()},
                            nullptr),
                        QString());
    const ShapeKind shape = tool == Tool::RECTANGLE ? ShapeKind::RECTANGLE
                            : tool == Tool::ELLIPSE ? ShapeKind::ELLIPSE
                                                    : ShapeKind::FREEHAND;
    const bool smooth = shape != ShapeKind::RECTANGLE && m_pSmoothEdges->isChecked();
    fnRun(tr("Selecting"), [&](CqProgressDisplay* progress) {
        return m_Document.fnSelectShape(shape, points, fnGetCombine(modifiers), progress, smooth);
    });
}

std::optional<CqColor> MainWindow::fnFindColor(const CqPoint2D& place) {
    CqImage& image = m_Document.fnGetImage();
    if (place.m_X < 0 || place.m_Y < 0 || place.m_X >= image.Width || place.m_Y >= image.Height)
        return std::nullopt;
    return image.fnGetPixelColor(static_cast<int>(place.m_X), static_cast<int>(place.m_Y));
}

void MainWindow::fnSelectColor(const CqPoint2D& place, Document::Combine how) {
    const auto color = fnFindColor(place);
    if (!color)
        return;
    fnRun(tr("Selecting"), [&](CqProgressDisplay* progress) {
        return m_Document.fnSelectColor(*color, m_pTolerance->value(), how, progress);
    });
}

void MainWindow::fnAskPreferences() {
    PreferencesDialog dialog(m_Document.fnGetLevels(), this,
                             m_Settings.value(kLanguageKey).toString());
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_Settings.setValue(kLanguageKey, dialog.fnGetLanguage());
    if (const int failure = dialog.fnApply(); failure != 0)
        q32ShowMsg(failure, nullptr, "Qkz.cfg", nullptr, 0);
    if (dialog.fnGetLevels() != m_Document.fnGetLevels() &&
        m_Document.fnSetLevels(dialog.fnGetLevels()))
        m_Settings.setValue("levels", dialog.fnGetLevels());
    fnUpdate(); // the gamma may have changed
}

void MainWindow::fnShowDump() {
    if (!q32CreateDumpWnd())
        return;
    m_Dump.fnClear();
    const CqVMPolicy& policy = *q32GetVMPolicy();
    m_Dump << "RAM for pictures: " << static_cast<unsigned long>(policy.fnGetRamBytes()) << " of "
           << static_cast<unsigned long>(policy.fnGetRamBound()) << " bytes\n";
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
        if (policy.fnIsDiskEnabled(i))
            m_Dump << "Scratch disk " << static_cast<int>(i + 1) << ": " << policy.fnGetDisk(i)
                   << ", " << static_cast<unsigned long>(policy.fnGetDiskUsage(i).m_nBytes)
                   << " bytes in " << static_cast<int>(policy.fnGetDiskUsage(i).m_nFiles)
                   << " files\n";
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    m_Dump << "Screen: " << static_cast<int>(display.fnGetColorDepth()) << " bits, "
           << static_cast<int>(display.fnGetDPI().cx) << " dots per inch, gamma "
           << display.fnGetGammaValue() / 180.0 << "\n";
    if (m_Document.fnHasImage()) {
        CqImage& image = m_Document.fnGetImage();
        m_Dump << "Picture: " << static_cast<unsigned long>(image.Width) << " x "
               << static_cast<unsigned long>(image.Height) << " pixels of "
               << static_cast<unsigned long>(image.BitCount) << " bits in "
               << static_cast<unsigned long>(image.TileCount) << " tiles\nFirst tile:\n";
        CqImageTile tile;
        image.fnAccessTile(0u, &tile);
        m_Dump.fnHexDump("%016lX ", tile.Pixels, std::min(static_cast<int>(tile.Size), kDumpBytes),
                         kDumpPerLine);
    }
}

void MainWindow::fnShowAbout() {
    DLLVERSIONINFO version{};
    version.cbSize = sizeof(version);
    const bool known = DllGetVersion(&version) == 0;
    QMessageBox::about(
        this, tr("About Darkroom"),
        tr("<h3>Darkroom</h3><p>An editor for pictures larger than memory.</p><p>%1</p>")
            .arg(known ? tr("q32Base %1.%2")
                             .arg(version.dwMajorVersion >> 16)
                             .arg(version.dwMajorVersion & 0xFFFF)
                       : tr("q32Base")));
}

} // namespace darkroom
