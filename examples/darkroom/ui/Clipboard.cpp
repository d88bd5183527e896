#include "examples/darkroom/ui/Clipboard.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/MemoryShare.h"
#include "q32Base/image/PixelAccess.h"

#include <bit>
#include <memory>
#include <new>
#include <QClipboard>
#include <QColorSpace>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QUuid>
#include <utility>

namespace darkroom {

namespace {

constexpr char kMarkType[] = "application/x-darkroom-picture";
constexpr PIXEL_ORDER kOrder =
    std::endian::native == std::endian::little ? PIXEL_BGRA32 : PIXEL_ARGB32;

/// Larger pictures aren't offered to other programs.
bool fnIsShared(const CqImage& image) {
    return std::uint64_t{image.Width} * image.Height * 4 <= fnLimitShared(fnGetMachineMemory());
}

QColorSpace fnToColorSpace(const std::vector<unsigned char>& profile) {
    return QColorSpace::fromIccProfile(QByteArray(reinterpret_cast<const char*>(profile.data()),
                                                  static_cast<qsizetype>(profile.size())));
}

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

bool fnFromScreen(const QImage& screen, Clip& clip, CqProgressDisplay* progress) {
    const bool alpha = screen.hasAlphaChannel();
    const QImage rows =
        screen.convertToFormat(alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (rows.isNull())
        throw std::bad_alloc();
    const auto width = static_cast<std::uint32_t>(rows.width());
    clip.m_Image.fnAlloc(width, static_cast<unsigned int>(rows.height()), alpha ? 32 : 24, nullptr,
                         0);
    const CqPixelWriter writer(clip.m_Image, kOrder);
    for (int y = 0; y < rows.height(); ++y) {
        writer.fnWriteRow(0, static_cast<std::uint32_t>(y), width, rows.constScanLine(y));
        if (!fnGoOn(progress, y, rows.height()))
            return false;
    }
    const QByteArray profile = screen.colorSpace().iccProfile();
    clip.m_Profile.assign(profile.begin(), profile.end());
    clip.m_Origin.reset();
    return true;
}

} // namespace

void Clipboard::fnPut(Clip& clip) {
    CqImage& image = clip.m_Image;
    auto data = std::make_unique<QMimeData>();
    const QString mark = QUuid::createUuid().toString();
    data->setData(kMarkType, mark.toLatin1());
    if (fnIsShared(image)) {
        QImage shared = fnToScreen(image);
        if (!clip.m_Profile.empty())
            shared.setColorSpace(fnToColorSpace(clip.m_Profile)); // none if Qt doesn't know it
        data->setImageData(shared);
    }
    m_Clip.m_Image.fnSwapBuf(image);
    m_Clip.m_Image.DpiX = image.DpiX;
    m_Clip.m_Image.DpiY = image.DpiY;
    m_Clip.m_Profile = std::move(clip.m_Profile);
    m_Clip.m_Origin = clip.m_Origin;
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

bool Clipboard::fnTake(Clip& clip, CqProgressDisplay* progress) const {
    if (fnIsOwn()) {
        clip.m_Profile = m_Clip.m_Profile;
        clip.m_Origin = m_Clip.m_Origin;
        return fnCopyPicture(m_Clip.m_Image, clip.m_Image, progress);
    }
    const QImage screen = QGuiApplication::clipboard()->image();
    return !screen.isNull() && fnFromScreen(screen, clip, progress);
}

} // namespace darkroom
