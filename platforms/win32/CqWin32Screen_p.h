#pragma once

#include "platforms/win32/CodePage_p.h"
#include "q32Base/platform/CqScreenService.h"

#include <memory>
#include <vector>

namespace q32::win32 {
class DeviceContext;
}

/// The system's screen. Its device contexts draw at once.
class CqWin32Screen final : public CqScreenService {
public:
    explicit CqWin32Screen(std::shared_ptr<const q32::win32::CodePage> codePage);
    ~CqWin32Screen() override;

    /// Null for windows that don't belong to this back end.
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
    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
    std::vector<std::unique_ptr<q32::win32::DeviceContext>> m_DCs;
};
