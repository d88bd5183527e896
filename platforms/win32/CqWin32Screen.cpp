#include "platforms/software/PaletteEntries_p.h"
#include "platforms/win32/CqWin32Palette_p.h"
#include "platforms/win32/CqWin32Region_p.h"
#include "platforms/win32/CqWin32Screen_p.h"
#include "platforms/win32/CqWin32Windows.h"
#include "platforms/win32/DeviceContext_p.h"
#include "platforms/win32/DibOutput_p.h"
#include "platforms/win32/LogFont_p.h"

#include <algorithm>
#include <memory>
#include <type_traits>
#include <utility>

using namespace q32::win32;

namespace {

/// What the system leaves in a new bitmap isn't documented.
bool fnBlacken(HDC device, HBITMAP bitmap, int width, int height) {
    const HDC dc = ::CreateCompatibleDC(device);
    const HGDIOBJ initial = dc ? ::SelectObject(dc, bitmap) : nullptr;
    const bool done = initial && ::PatBlt(dc, 0, 0, width, height, BLACKNESS);
    if (initial)
        ::SelectObject(dc, initial);
    if (dc)
        ::DeleteDC(dc);
    return done;
}

} // namespace

CqWin32Screen::CqWin32Screen(std::shared_ptr<const CodePage> codePage)
    : m_pCodePage(std::move(codePage)) {}

CqWin32Screen::~CqWin32Screen() = default;

CDC* CqWin32Screen::fnGetDC(CWnd* window) {
    HWND handle = nullptr;
    if (window) {
        const auto* place = dynamic_cast<const CqWin32Place*>(window);
        handle = place ? place->fnGetHandle() : nullptr;
        if (!handle)
            return nullptr;
    }
    m_DCs.reserve(m_DCs.size() + 1);
    const auto release = [handle](HDC open) { ::ReleaseDC(handle, open); };
    std::unique_ptr<std::remove_pointer_t<HDC>, decltype(release)> dc(::GetDC(handle), release);
    if (!dc)
        return nullptr;
    m_DCs.push_back(std::make_unique<DeviceContext>(dc.get(), DeviceContext::END::RELEASE,
                                                    m_pCodePage, window, handle));
    static_cast<void>(dc.release());
    return m_DCs.back().get();
}

void CqWin32Screen::fnReleaseDC(CWnd* window, CDC* dc) noexcept {
    std::erase_if(
        m_DCs, [&](const auto& open) { return open.get() == dc && open->fnGetWindow() == window; });
}

int CqWin32Screen::fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                                       int sourceY, UINT startScan, UINT scans, const void* bits,
                                       const BITMAPINFOHEADER* header, UINT use) {
    if (!dc)
        return 0;
    const auto* target = dynamic_cast<const DeviceContext*>(dc);
    const HDC own = target ? target->fnGetTarget() : nullptr;
    if (!own)
        return -1;
    return fnPutRows(own,
                     {x, y, width, height, sourceX, sourceY, startScan, scans, bits, header, use},
                     target->fnGetPalette());
}

std::unique_ptr<CqPaletteObject> CqWin32Screen::fnCreatePalette(const LOGPALETTE& palette) {
    std::vector<PALETTEENTRY> entries = q32::software::fnReadPaletteEntries(palette);
    if (entries.empty())
        return nullptr;
    GdiObject<HPALETTE> own(::CreatePalette(&palette));
    return own ? std::make_unique<CqWin32Palette>(std::move(entries), std::move(own)) : nullptr;
}

void CqWin32Screen::fnPaletteGone(const CPalette& palette) noexcept {
    DeviceContext::fnForgetPalette(palette);
}

std::unique_ptr<CqRegionObject> CqWin32Screen::fnCreateRectRegion(const RECT& rect) {
    return CqWin32Region::fnMake(rect);
}

bool CqWin32Screen::fnGetIconTitleFont(LOGFONTA& font) {
    LOGFONTW own{};
    if (!::SystemParametersInfoW(SPI_GETICONTITLELOGFONT, sizeof own, &own, 0))
        return false;
    font = fnFromWideFont(*m_pCodePage, own);
    return true;
}

std::unique_ptr<CqFontObject> CqWin32Screen::fnCreateFont(const LOGFONTA& font) {
    constexpr LONG kMax = 4096; // larger ones take the system's memory
    LOGFONTW own = fnToWideFont(*m_pCodePage, font);
    own.lfHeight = std::clamp(own.lfHeight, -kMax, kMax);
    own.lfWidth = std::clamp(own.lfWidth, -kMax, kMax);
    GdiObject<HFONT> made(::CreateFontIndirectW(&own));
    return made ? std::make_unique<Font>(std::move(made)) : nullptr;
}

std::unique_ptr<CqBitmapObject> CqWin32Screen::fnCreateCompatibleBitmap(CDC* dc, int width,
                                                                        int height) {
    constexpr int kMax = 32767;
    if (!dynamic_cast<const DeviceContext*>(dc) || width < 1 || height < 1 || width > kMax ||
        height > kMax)
        return nullptr;
    // A device context of memory would give a bitmap of its own, which is of one bit at first.
    const ScreenDC screen;
    GdiObject<HBITMAP> made(::CreateCompatibleBitmap(screen.fnGet(), width, height));
    if (!made || !fnBlacken(screen.fnGet(), made.fnGet(), width, height))
        return nullptr;
    return std::make_unique<Bitmap>(std::move(made), SIZE{width, height});
}
