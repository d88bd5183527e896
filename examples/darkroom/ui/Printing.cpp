#include "examples/darkroom/ui/Printing.h"

#include "examples/darkroom/model/MeanRows.h"
#include "examples/darkroom/model/Progress.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QSaveFile>
#include <string>

namespace darkroom {

namespace {

constexpr double kMaxPerInch = 300;
constexpr double kUsualPerInch = 96;
constexpr int kPrintedRows = 64;

/// A page that is being painted. Unless it is finished, a printer doesn't get it.
class Page {
public:
    explicit Page(QPagedPaintDevice& device)
        : m_Device(device), m_bBegun(m_Painter.begin(&device)) {
        m_Painter.setRenderHint(QPainter::LosslessImageRendering);
    }
    ~Page() {
        if (auto* const printer = dynamic_cast<QPrinter*>(&m_Device); printer && m_bBegun)
            printer->abort();
    }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    bool fnHasBegun() const { return m_bBegun; }
    QPainter& fnGetPainter() { return m_Painter; }
    bool fnFinish() {
        m_bBegun = false;
        return m_Painter.end();
    }

private:
    QPagedPaintDevice& m_Device;
    QPainter m_Painter;
    bool m_bBegun;
};

int fnCountSamples(std::uint32_t pixels, double inches) {
    const double most = std::ceil(inches * kMaxPerInch);
    return static_cast<int>(std::clamp(most, 1.0, static_cast<double>(pixels)));
}

} // namespace

QSizeF fnGetPrintSize(const CqImage& image) {
    const auto inches = [](std::uint32_t pixels, auto perInch) {
        return pixels / (perInch > 0 ? static_cast<double>(perInch) : kUsualPerInch);
    };
    return {inches(image.Width, image.DpiX), inches(image.Height, image.DpiY)};
}

PrintPlan fnPlanPrint(const CqImage& image, const QPagedPaintDevice& device, PrintSize size) {
    const QSizeF inch(device.logicalDpiX(), device.logicalDpiY());
    const QSizeF room(device.width(), device.height());
    const QSizeF natural = fnGetPrintSize(image);
    const QSizeF whole(natural.width() * inch.width(), natural.height() * inch.height());
    const double fit = std::min(room.width() / whole.width(), room.height() / whole.height());
    const QSizeF printed = whole * (size == PrintSize::FIT ? fit : std::min(fit, 1.0));
    const QPointF corner((room.width() - printed.width()) / 2,
                         (room.height() - printed.height()) / 2);
    return {QRectF(corner, printed),
            {fnCountSamples(image.Width, printed.width() / inch.width()),
             fnCountSamples(image.Height, printed.height() / inch.height())}};
}

Outcome fnPrintPicture(const CqImage& image, QPagedPaintDevice& device, PrintSize size,
                       const ConvertRow& convert, CqProgressDisplay* progress) {
    const PrintPlan plan = fnPlanPrint(image, device, size);
    const int width = plan.m_Samples.width();
    const int height = plan.m_Samples.height();
    MeanRows rows(image, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
    QImage band(width, std::min(height, kPrintedRows + 1), QImage::Format_RGB32);
    if (band.isNull())
        throw std::bad_alloc();
    Page page(device);
    if (!page.fnHasBegun())
        return fnFail(MESSAGE_CANNOT_SAVE, {});
    const double step = plan.m_Place.height() / height;
    int first = 0;
    int filled = 0;
    for (int y = 0; y < height; ++y) {
        auto* const row = reinterpret_cast<QRgb*>(band.scanLine(filled));
        rows.fnMake(static_cast<std::uint32_t>(y), row);
        convert(row, width);
        ++filled;
        if (filled == band.height() || y + 1 == height) {
            page.fnGetPainter().drawImage(QRectF(plan.m_Place.left(),
                                                 plan.m_Place.top() + first * step,
                                                 plan.m_Place.width(), filled * step),
                                          band, QRectF(0, 0, width, filled));
            // Bands share a row, so that no gap shows between them where edges are blended.
            first = y;
            std::memcpy(band.scanLine(0), band.constScanLine(filled - 1),
                        static_cast<std::size_t>(band.bytesPerLine()));
            filled = 1;
        }
        if (!fnGoOn(progress, y, height))
            return fnStop();
    }
    return page.fnFinish() ? Outcome() : fnFail(MESSAGE_CANNOT_SAVE, {});
}

Outcome fnPrintToPdf(const CqImage& image, const QString& path, const QPageLayout& layout,
                     int resolution, PrintSize size, const ConvertRow& convert,
                     CqProgressDisplay* progress) {
    const std::string name = QFile::encodeName(path).toStdString();
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fnFail(MESSAGE_CANNOT_SAVE, name);
    Outcome outcome;
    {
        QPdfWriter pdf(&file);
        pdf.setResolution(resolution);
        pdf.setPageLayout(layout);
        pdf.setTitle(QFileInfo(path).completeBaseName());
        outcome = fnPrintPicture(image, pdf, size, convert, progress);
    }
    const bool written = outcome.fnIsDone() && file.commit();
    return written || outcome.m_bAborted ? outcome : fnFail(MESSAGE_CANNOT_SAVE, name);
}

} // namespace darkroom
