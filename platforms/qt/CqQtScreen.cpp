#include "platforms/qt/CanvasContext_p.h"
#include "platforms/qt/CanvasRows_p.h"
#include "platforms/qt/CqQtScreen_p.h"
#include "platforms/qt/CqQtWindows.h"
#include "platforms/qt/Text_p.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cstring>
#include <QApplication>
#include <QFontInfo>
#include <QFontMetrics>
#include <QScreen>
#include <utility>

using namespace q32::qt;

CqQtScreen::CqQtScreen(std::shared_ptr<CqScreenService> base,
                       std::shared_ptr<const q32::posix::CodePage> codePage, int bits)
    : m_pBase(std::move(base)), m_pCodePage(std::move(codePage)), m_nBits(bits) {}

CqQtScreen::~CqQtScreen() = default;

CDC* CqQtScreen::fnGetDC(CWnd* window) {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return nullptr;
    CqQtCanvas* canvas = nullptr;
    bool over = false;
    const QWidget* widget = nullptr;
    if (window) {
        const auto* place = dynamic_cast<const CqQtPlace*>(window);
        widget = place ? place->fnGetWidget() : nullptr;
        if (!widget)
            return nullptr;
        canvas = place->fnGetCanvas();
        over = place->fnIsOver(canvas);
    }
    Device device;
    device.m_pScreen = widget ? widget->screen() : QGuiApplication::primaryScreen();
    if (!device.m_pScreen)
        return nullptr;
    device.m_Scale = widget ? widget->devicePixelRatioF() : device.m_pScreen->devicePixelRatio();
    // Qt paints at one of two depths, whatever the screen's exact one.
    device.m_nBits = m_nBits != 0 ? m_nBits : device.m_pScreen->depth() > 16 ? 32 : 16;
    device.m_pCodePage = m_pCodePage;
    m_DCs.push_back(std::make_unique<CanvasContext>(device, window, canvas, over));
    return m_DCs.back().get();
}

CanvasContext* CqQtScreen::fnFindDC(const CDC* dc) const {
    const auto found = std::find_if(m_DCs.begin(), m_DCs.end(),
                                    [&](const auto& open) { return open.get() == dc; });
    return found == m_DCs.end() ? nullptr : found->get();
}

void CqQtScreen::fnReleaseDC(CWnd* window, CDC* dc) noexcept {
    const auto found = std::find_if(m_DCs.begin(), m_DCs.end(), [&](const auto& open) {
        return open.get() == dc && open->fnGetWindow() == window;
    });
    if (found == m_DCs.end())
        return;
    // Showing may call the host, which may request other device contexts.
    const std::unique_ptr<CanvasContext> released = std::move(*found);
    m_DCs.erase(found);
    // Without memory, the pixels stay in the canvas, and a later paint event shows them.
    q32::fnTryMemory([&] { released->fnShow(); });
}

int CqQtScreen::fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                                    int sourceY, UINT startScan, UINT scans, const void* bits,
                                    const BITMAPINFOHEADER* header, UINT use) {
    if (!dc)
        return 0;
    CanvasContext* target = fnFindDC(dc);
    if (!target)
        target = dynamic_cast<CanvasContext*>(dc); // one of a bitmap
    QImage surface = target ? target->fnGetSurface() : QImage();
    if (surface.isNull())
        return -1;
    const q32::software::RowJob job{x,         y,     width, height, sourceX, sourceY,
                                    startScan, scans, bits,  header, use};
    QRect changed;
    const int taken = fnPutCanvasRows(job, target->fnGetPalette(), surface, changed);
    target->fnAddChange(changed);
    return taken;
}

std::unique_ptr<CqPaletteObject> CqQtScreen::fnCreatePalette(const LOGPALETTE& palette) {
    return m_pBase->fnCreatePalette(palette);
}

void CqQtScreen::fnPaletteGone(const CPalette& palette) noexcept {
    for (const auto& dc : m_DCs)
        dc->fnForgetPalette(palette);
}

std::unique_ptr<CqRegionObject> CqQtScreen::fnCreateRectRegion(const RECT& rect) {
    return m_pBase->fnCreateRectRegion(rect);
}

bool CqQtScreen::fnGetIconTitleFont(LOGFONTA& font) {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return false;
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QFont standard = fnGetStandardFont(screen ? screen->devicePixelRatio() : 1.0);
    font = LOGFONTA{};
    font.lfHeight = -standard.pixelSize();
    font.lfWeight = standard.weight();
    font.lfItalic = standard.italic() ? 1 : 0;
    const std::string name = fnToBytes(*m_pCodePage, QFontInfo(standard).family());
    if (name.size() < sizeof(font.lfFaceName)) // a truncated name would be another font's
        std::memcpy(font.lfFaceName, name.c_str(), name.size() + 1);
    return true;
}

std::unique_ptr<CqFontObject> CqQtScreen::fnCreateFont(const LOGFONTA& font) {
    constexpr int kMax = 4096;
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return nullptr;
    const QScreen* screen = QGuiApplication::primaryScreen();
    QFont made = fnGetStandardFont(screen ? screen->devicePixelRatio() : 1.0);
    const std::size_t length = ::strnlen(font.lfFaceName, sizeof(font.lfFaceName));
    if (length > 0)
        made.setFamily(fnToText(*m_pCodePage, {font.lfFaceName, length}));
    if (font.lfWeight > 0)
        made.setWeight(static_cast<QFont::Weight>(std::min<LONG>(font.lfWeight, 1000)));
    made.setItalic(font.lfItalic != 0);
    made.setUnderline(font.lfUnderline != 0);
    made.setStrikeOut(font.lfStrikeOut != 0);
    if (font.lfHeight < 0) {
        made.setPixelSize(font.lfHeight < -kMax ? kMax : -font.lfHeight);
    } else if (font.lfHeight > 0) {
        // The requested height is that of a line; the font determines its ratio to the pixel size.
        const int height = std::min<LONG>(font.lfHeight, kMax);
        made.setPixelSize(height);
        const QFontMetrics sizes(made);
        const int line = std::max(1, sizes.ascent() + sizes.descent());
        made.setPixelSize(std::max(1, height * height / line));
    }
    return std::make_unique<Font>(made);
}

std::unique_ptr<CqBitmapObject> CqQtScreen::fnCreateCompatibleBitmap(CDC* dc, int width,
                                                                     int height) {
    constexpr int kMax = 32767;
    if (!dynamic_cast<CanvasContext*>(dc) || width < 1 || height < 1 || width > kMax ||
        height > kMax)
        return nullptr;
    QImage pixels(width, height, QImage::Format_RGB32);
    if (pixels.isNull())
        return nullptr;
    pixels.fill(Qt::black);
    return std::make_unique<Bitmap>(std::move(pixels));
}
