// Printing the picture.
#include "examples/darkroom/ui/MainWindow.h"
#include "examples/darkroom/ui/Printing.h"

#include <QDir>
#include <QFileInfo>
#include <QInputDialog>
#include <QLocale>
#include <QMessageBox>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>

namespace darkroom {

namespace {

QString fnPrintLength(double inches) {
    constexpr double kCentimetres = 2.54;
    return QLocale().toString(inches * kCentimetres, 'f', 1);
}

} // namespace

void MainWindow::fnAskPrint() {
    const CqImage& image = m_Document.fnGetImage();
    const QSizeF inches = fnGetPrintSize(image);
    const QStringList sizes = {
        tr("As large as the page allows"),
        tr("By the picture's resolution: %1 x %2 cm")
            .arg(fnPrintLength(inches.width()), fnPrintLength(inches.height()))};
    bool chosen = false;
    const QString size =
        QInputDialog::getItem(this, tr("Print"), tr("&Size:"), sizes, 0, false, &chosen);
    if (!chosen)
        return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(fnGetName());
    printer.setPageOrientation(image.Width > image.Height ? QPageLayout::Landscape
                                                          : QPageLayout::Portrait);
    if (QPrinterInfo::availablePrinterNames().isEmpty()) { // what remains is a file
        const QFileInfo own(fnGetOwnPath().isEmpty() ? QDir::home().filePath(fnGetName())
                                                     : fnGetOwnPath());
        printer.setOutputFileName(own.dir().filePath(own.completeBaseName() + ".pdf"));
    }
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted)
        fnPrint(printer, size == sizes.front() ? PrintSize::FIT : PrintSize::RESOLUTION);
}

bool MainWindow::fnPrint(QPrinter& printer, PrintSize size) {
    const CqImage& image = m_Document.fnGetImage();
    const ConvertRow convert = [this](QRgb* row, int count) {
        m_pView->fnConvertColors(row, count);
    };
    const QString file =
        printer.outputFormat() == QPrinter::PdfFormat ? printer.outputFileName() : QString();
    bool refused = false;
    const bool done = fnRun(tr("Printing"), [&](CqProgressDisplay* progress) {
        if (!file.isEmpty())
            return fnPrintToPdf(image, file, printer.pageLayout(), printer.resolution(), size,
                                convert, progress);
        const Outcome outcome = fnPrintPicture(image, printer, size, convert, progress);
        refused = outcome.m_nMsgId == MESSAGE_CANNOT_SAVE;
        return refused ? fnStop() : outcome;
    });
    if (refused)
        QMessageBox::warning(this, tr("Darkroom"),
                             tr("%1 isn't printed: the printer %2 doesn't accept it.")
                                 .arg(fnGetName(), printer.printerName()));
    return done;
}

} // namespace darkroom
