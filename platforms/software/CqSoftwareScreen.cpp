#include "platforms/software/CqSoftwareRegion.h"
#include "platforms/software/CqSoftwareScreen_p.h"
#include "platforms/software/DibRows_p.h"
#include "platforms/software/PaletteEntries_p.h"
#include "q32Base/framework/Windows.h"

#include <algorithm>
#include <utility>

using namespace q32::software;

namespace {

constexpr int kScreenWidth = 1024;
constexpr int kScreenHeight = 768;
constexpr int kScreenBits = 32;
constexpr int kScreenDpi = 96;

} // namespace

class CqSoftwareScreen::Context final : public CDC {
public:
    explicit Context(CWnd* window) : m_pWindow(window) {}

    CWnd* fnGetWindow() const { return m_pWindow; }
    void fnForgetPalette(const CPalette& palette) {
        if (m_pPalette == &palette)
            m_pPalette = nullptr;
    }

    int GetDeviceCaps(int index) const override {
        switch (index) {
        case HORZRES:
            return kScreenWidth;
        case VERTRES:
            return kScreenHeight;
        case BITSPIXEL:
            return kScreenBits;
        case LOGPIXELSX:
        case LOGPIXELSY:
            return kScreenDpi;
        default:
            return 0;
        }
    }
    CPalette* SelectPalette(CPalette* palette, bool) override {
        return std::exchange(m_pPalette, palette);
    }
    UINT RealizePalette() override { return 0; }

private:
    CWnd* m_pWindow;
    CPalette* m_pPalette = nullptr;
};

CqSoftwareScreen::CqSoftwareScreen() = default;
CqSoftwareScreen::~CqSoftwareScreen() = default;

CDC* CqSoftwareScreen::fnGetDC(CWnd* window) {
    if (window && !window->IsWindow())
        return nullptr;
    const std::lock_guard lock(m_Lock);
    m_DCs.push_back(std::make_unique<Context>(window));
    return m_DCs.back().get();
}

void CqSoftwareScreen::fnReleaseDC(CWnd* window, CDC* dc) noexcept {
    const std::lock_guard lock(m_Lock);
    std::erase_if(
        m_DCs, [&](const auto& open) { return open.get() == dc && open->fnGetWindow() == window; });
}

int CqSoftwareScreen::fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height,
                                          int sourceX, int sourceY, UINT startScan, UINT scans,
                                          const void* bits, const BITMAPINFOHEADER* header,
                                          UINT use) {
    if (!dc)
        return 0;
    const RowJob job{x, y, width, height, sourceX, sourceY, startScan, scans, bits, header, use};
    DibRows rows;
    const std::lock_guard lock(m_Lock);
    const bool open =
        std::any_of(m_DCs.begin(), m_DCs.end(), [&](const auto& one) { return one.get() == dc; });
    if (!open || !bits || !header || !fnReadDibRows(*header, use, rows))
        return -1;
    return static_cast<int>(fnCountScans(job, rows));
}

std::unique_ptr<CqPaletteObject> CqSoftwareScreen::fnCreatePalette(const LOGPALETTE& palette) {
    std::vector<PALETTEENTRY> entries = fnReadPaletteEntries(palette);
    return entries.empty() ? nullptr : std::make_unique<CqPaletteObject>(std::move(entries));
}

void CqSoftwareScreen::fnPaletteGone(const CPalette& palette) noexcept {
    const std::lock_guard lock(m_Lock);
    for (const auto& dc : m_DCs)
        dc->fnForgetPalette(palette);
}

std::unique_ptr<CqRegionObject> CqSoftwareScreen::fnCreateRectRegion(const RECT& rect) {
    return std::make_unique<CqSoftwareRegion>(rect);
}
