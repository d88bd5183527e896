#pragma once

#include "q32Base/platform/CqScreenService.h"

#include <memory>
#include <mutex>
#include <vector>

/// A screen that shows nothing. Locked, since each new image asks the screen for its resolution, in
/// whatever thread it is made.
class CqSoftwareScreen final : public CqScreenService {
public:
    CqSoftwareScreen();
    ~CqSoftwareScreen() override;

    CDC* fnGetDC(CWnd* window) override;
    void fnReleaseDC(CWnd* window, CDC* dc) noexcept override;
    int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                            int sourceY, UINT startScan, UINT scans, const void* bits,
                            const BITMAPINFOHEADER* header, UINT use) override;
    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override;
    void fnPaletteGone(const CPalette& palette) noexcept override;
    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override;

private:
    class Context;

    std::mutex m_Lock;
    std::vector<std::unique_ptr<Context>> m_DCs;
};
