// Printing, looked at in the PDF file that it makes.
#include "examples/darkroom/ui/Printing.h"

#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <QFile>
#include <QInputDialog>
#include <QPrintDialog>
#include <QPrinter>
#include <QRegularExpression>
#include <QStatusBar>
#include <vector>

using darkroom::PrintSize;

namespace {

/// The pictures of a PDF file, in its order.
std::vector<QImage> fnFindPictures(const QByteArray& pdf) {
    std::vector<QImage> pictures;
    for (qsizetype at = pdf.indexOf("/Subtype /Image"); at >= 0;
         at = pdf.indexOf("/Subtype /Image", at + 1)) {
        const qsizetype begin = pdf.indexOf("stream\n", at) + 7;
        const QString head = QString::fromLatin1(pdf.mid(at, begin - at));
        const auto number = [&](const char* name) {
            return QRegularExpression(QString("/%1 (\\d+)\n").arg(name))
                .match(head)
                .captured(1)
                .toInt();
        };
        const QSize size(number("Width"), number("Height"));
        const qsizetype end = pdf.indexOf("endstream", begin);
        EXPECT_TRUE(head.contains("/FlateDecode") && head.contains("/DeviceRGB"))
            << head.toStdString();
        QByteArray packed(4, '\0'); // the size that is expected, unknown
        packed.append(pdf.mid(begin, end - begin));
        const QByteArray rows = qUncompress(packed);
        EXPECT_EQ(rows.size(), qsizetype{3} * size.width() * size.height());
        pictures.push_back(QImage(reinterpret_cast<const uchar*>(rows.constData()), size.width(),
                                  size.height(), 3 * size.width(), QImage::Format_RGB888)
                               .copy());
    }
    return pictures;
}

class DarkroomPrinting : public DarkroomWindow {
protected:
    CqImage& fnPicture() const { return m_pWindow->fnGetDocument().fnGetImage(); }
    void fnOpenAt(unsigned int width, unsigned int height, int dpi) const {
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("print.png", width, height)));
        fnPicture().DpiX = fnPicture().DpiY = dpi;
    }
    void fnSetUp(QPrinter& printer, const QString& file) const {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(fnPath(file));
        printer.setPageSize(QPageSize(QPageSize::A4));
        printer.setPageMargins(QMarginsF(10, 10, 10, 10), QPageLayout::Millimeter);
    }
    QByteArray fnRead(const QString& name) const {
        QFile file(fnPath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

} // namespace

TEST_F(DarkroomPrinting, APictureThatNeedsNoReductionIsInTheFilePixelByPixel) {
    fnOpenAt(210, 150, 100);
    QPrinter printer(QPrinter::HighResolution);
    fnSetUp(printer, "exact.pdf");
    const darkroom::PrintPlan plan =
        darkroom::fnPlanPrint(fnPicture(), printer, PrintSize::RESOLUTION);
    EXPECT_EQ(plan.m_Samples, QSize(210, 150));
    EXPECT_NEAR(plan.m_Place.width() / printer.resolution(), 2.1, 1e-6) << "inches";
    EXPECT_NEAR(plan.m_Place.center().x(), printer.width() / 2.0, 1);
    ASSERT_TRUE(m_pWindow->fnPrint(printer, PrintSize::RESOLUTION));
    int y = 0;
    for (const QImage& band : fnFindPictures(fnRead("exact.pdf"))) {
        EXPECT_LE(band.height(), 65) << "bands, so that memory is bounded";
        ASSERT_EQ(band.width(), 210);
        for (int row = 0; row < band.height(); ++row)
            for (int x = 0; x < 210; ++x) {
                const CqColor pixel = fnPicture().fnGetPixelColor(x, y + row);
                ASSERT_EQ(band.pixelColor(x, row), QColor(pixel.m_Red, pixel.m_Green, pixel.m_Blue))
                    << x << ", " << y + row;
            }
        y += band.height() - 1; // bands share a row
    }
    EXPECT_EQ(y, 149);
}

TEST_F(DarkroomPrinting, ALargePictureIsReducedTo300SamplesToTheInchAndFitsThePage) {
    fnOpenAt(4000, 300, 20);
    QPrinter printer(QPrinter::HighResolution);
    fnSetUp(printer, "large.pdf");
    for (const PrintSize size : {PrintSize::FIT, PrintSize::RESOLUTION}) {
        const darkroom::PrintPlan plan = darkroom::fnPlanPrint(fnPicture(), printer, size);
        const double inches = plan.m_Place.width() / printer.resolution();
        EXPECT_NEAR(inches, 190 / 25.4, 0.02) << "all of the width between the margins";
        EXPECT_NEAR(plan.m_Samples.width(), inches * 300, 1);
        EXPECT_TRUE(
            QRectF(-1, -1, printer.width() + 2, printer.height() + 2).contains(plan.m_Place));
        EXPECT_NEAR(plan.m_Place.width() / plan.m_Place.height(), 4000.0 / 300, 1e-6);
    }
    ASSERT_TRUE(m_pWindow->fnPrint(printer, PrintSize::FIT));
    const std::vector<QImage> bands = fnFindPictures(fnRead("large.pdf"));
    ASSERT_FALSE(bands.empty());
    EXPECT_NEAR(bands.front().width(), 190 / 25.4 * 300, 4);
    // Noise becomes calmer where pixels are averaged, and its mean stays.
    double sum = 0;
    for (int x = 0; x < bands.front().width(); ++x)
        sum += bands.front().pixelColor(x, 5).green();
    EXPECT_NEAR(sum / bands.front().width(), 127.5, 10);
}

TEST_F(DarkroomPrinting, WhiteShowsThroughAlphaAndColorsGoThroughTheConversion) {
    CqImage image;
    image.fnAlloc(40, 30, 32, nullptr, 0);
    image.fnFill(CqColor(200, 0, 100, 0), nullptr, false);
    for (int i = 0; i < 40; ++i)
        image.fnSetPixelColor(i, 9, CqColor(200, 0, 100, 51));
    QPrinter printer(QPrinter::HighResolution);
    fnSetUp(printer, "alpha.pdf");
    const darkroom::ConvertRow swap = [](QRgb* row, int count) {
        for (int i = 0; i < count; ++i)
            row[i] = qRgb(qBlue(row[i]), qGreen(row[i]), qRed(row[i]));
    };
    ASSERT_TRUE(darkroom::fnPrintToPdf(image, fnPath("alpha.pdf"), printer.pageLayout(), 600,
                                       PrintSize::FIT, swap, nullptr)
                    .fnIsDone());
    const std::vector<QImage> bands = fnFindPictures(fnRead("alpha.pdf"));
    ASSERT_EQ(bands.size(), 1u);
    EXPECT_EQ(bands[0].pixelColor(7, 9), QColor(224, 204, 244));
    EXPECT_EQ(bands[0].pixelColor(7, 10), QColor(Qt::white));
}

TEST_F(DarkroomPrinting, EscLeavesTheFormerFile) {
    fnOpenAt(400, 900, 100);
    QPrinter printer(QPrinter::HighResolution);
    fnSetUp(printer, "stopped.pdf");
    QFile former(fnPath("stopped.pdf"));
    ASSERT_TRUE(former.open(QIODevice::WriteOnly));
    former.write("former");
    former.close();
    int looks = 0;
    m_OnLook = [&] {
        if (++looks == 20)
            fnHoldKey(Qt::Key_Escape, VK_ESCAPE);
    };
    EXPECT_FALSE(m_pWindow->fnPrint(printer, PrintSize::FIT));
    m_OnLook = {};
    fnReleaseKey(Qt::Key_Escape);
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("stopped"));
    EXPECT_EQ(fnRead("stopped.pdf"), "former");
    EXPECT_TRUE(m_pWindow->fnPrint(printer, PrintSize::FIT));
    EXPECT_TRUE(fnRead("stopped.pdf").startsWith("%PDF"));
}

TEST_F(DarkroomPrinting, AFileThatCantBeWrittenIsNamed) {
    fnOpenAt(60, 40, 100);
    QPrinter printer(QPrinter::HighResolution);
    fnSetUp(printer, "no such folder/a.pdf");
    EXPECT_FALSE(m_pWindow->fnPrint(printer, PrintSize::FIT));
    const std::vector<std::string> boxes = fnTakeBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_NE(boxes[0].find("no such folder"), std::string::npos) << boxes[0];
}

TEST_F(DarkroomPrinting, TheMenuAsksForTheSizeAndThePrinter) {
    fnOpenAt(254, 508, 254);
    bool asked = false;
    fnDo("print", [&](QDialog& dialog) {
        auto* const input = qobject_cast<QInputDialog*>(&dialog);
        ASSERT_TRUE(input);
        const QString natural = input->comboBoxItems().value(1);
        EXPECT_TRUE(natural.contains("2.5 x 5.1 cm")) << natural.toStdString();
        fnKeepPicture(dialog, "print-size");
        fnInDialog([&](QDialog& native) {
            asked = qobject_cast<QPrintDialog*>(&native) != nullptr;
            fnKeepPicture(native, "print");
            native.reject();
        });
        fnAccept(dialog);
    });
    EXPECT_TRUE(asked);
}
