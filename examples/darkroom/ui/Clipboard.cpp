#include "examples/darkroom/ui/Clipboard.h"

#include "examples/darkroom/model/Bands.h"
#include "q32Base/image/PixelAccess.h"

#include <bit>
#include <memory>
#include <new>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QUuid>

namespace darkroom {

namespace {

constexpr char kMarkType[] = "application/x-darkroom-picture";
/// Larger pictures aren't offered to other programs.
constexpr std::uint64_t kMaxShared = std::uint64_t{64} << 20; ///< pixels

constexpr PIXEL_ORDER kOrder =
    std::endian::native == std::endian::little ? PIXEL_BGRA32 : PIXEL_ARGB32;

QImage fnToScreen(const CqImage& image) {
    QImage made(static_cast<int>(image.Width), static_cast<int>(image.Height),
                image.BitCount == 32 ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (made.isNull())
        throw std::bad_alloc();
    const CqPixelReader reader(image, kOrder);
    for (std::uint32_t y = 0; y < image.Height; ++y)
        reader.fnReadRow(0, y, image.Width, made.scanLine(static_cast<int>(y)));
    return made;
}

void fnFromScreen(const QImage& screen, CqImage& image) {
    const bool alpha = screen.hasAlphaChannel();
    const QImage rows =
        screen.convertToFormat(alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (rows.isNull())
        throw std::bad_alloc();
    const auto width = static_cast<std::uint32_t>(rows.width());
    image.fnAlloc(width, static_cast<unsigned int>(rows.height()), alpha ? 32 : 24, nullptr, 0);
    const CqPixelWriter writer(image, kOrder);
    for (int y = 0; y < rows.height(); ++y)
        writer.fnWriteRow(0, static_cast<std::uint32_t>(y), width, rows.constScanLine(y));
}

} // namespace

void Clipboard::fnPut(CqImage& image) {
    auto data = std::make_unique<QMimeData>();
    const QString mark = QUuid::createUuid().toString();
    data->setData(kMarkType, mark.toLatin1());
    if (std::uint64_t{image.Width} * image.Height <= kMaxShared)
        data->setImageData(fnToScreen(image));
    m_Image.fnSwapBuf(image);
    m_Image.DpiX = image.DpiX;
    m_Image.DpiY = image.DpiY;
    m_strMark = mark;
    QGuiApplication::clipboard()->setMimeData(data.release());
}

bool Clipboard::fnIsOwn() const {
    const QMimeData* const data = QGuiApplication::clipboard()->mimeData();
    return data && !m_strMark.isEmpty() && data->data(kMarkType) == m_strMark.toLatin1();
}

bool Clipboard::fnHasPicture() const {
    const QMimeData* const data = QGuiApplication::clipboard()->mimeData();
    return fnIsOwn() || (data && data->hasImage());
}

bool Clipboard::fnTake(CqImage& image) const {
    if (fnIsOwn())
        return fnCopyPicture(m_Image, image, nullptr);
    const QImage screen = QGuiApplication::clipboard()->image();
    if (screen.isNull())
        return false;
    fnFromScreen(screen, image);
    return true;
}

} // namespace darkroom
