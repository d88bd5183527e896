#pragma once

#include "platforms/posix/CodePage_p.h"
#include "q32Base/platform/CqScreenService.h"

#include <memory>
#include <vector>

namespace q32::qt {
class CanvasContext;
}

/// The desktop's screen. Coordinates are device pixels, also on a scaled display, whose density is
/// reported accordingly. A device context of a CqQtCanvas draws into its pixels; one of any other
/// widget draws on a canvas that lies over it, until that window is invalidated. Drawing becomes
/// visible when the device context is released. One for the whole screen reports metrics, but can't
/// be drawn on. Palettes are software palettes: they map indices to colours at the time of drawing,
/// and later changes don't affect the screen.
class CqQtScreen final : public CqScreenService {
public:
    /// @param base  creates regions and palettes
    /// @param bits  depth to report and draw with; 0: the screen's own
    CqQtScreen(std::shared_ptr<CqScreenService> base,
               std::shared_ptr<const q32::posix::CodePage> codePage, int bits);
    ~CqQtScreen() override;

    /// Null without an application object, and for windows that don't belong to this back end.
    CDC* fnGetDC(CWnd* window) override;
    void fnReleaseDC(CWnd* window, CDC* dc) noexcept override;
    int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                            int sourceY, UINT startScan, UINT scans, const void* bits,
                            const BITMAPINFOHEADER* header, UINT use) override;
    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override;
    void fnPaletteGone(const CPalette& palette) noexcept override;
    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override;
    bool fnGetIconTitleFont(LOGFONTA& font) override;
    std::unique_ptr<CqFontObject> fnCreateFont(const LOGFONTA& font) override;
    std::unique_ptr<CqBitmapObject> fnCreateCompatibleBitmap(CDC* dc, int width,
                                                             int height) override;

private:
    q32::qt::CanvasContext* fnFindDC(const CDC* dc) const;

    std::shared_ptr<CqScreenService> m_pBase;
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
    int m_nBits;
    std::vector<std::unique_ptr<q32::qt::CanvasContext>> m_DCs;
};
