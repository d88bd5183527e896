#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "platforms/headless/CqHeadlessFont.h"
#include "platforms/headless/CqHeadlessPaintCalls.h"
#include "platforms/headless/CqHeadlessPalette.h"
#include "platforms/headless/CqHeadlessPicture.h"
#include "platforms/headless/FrameBuffer.h"
#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace q32::headless {
class FrameContext;
}

/// The arguments and result of a call of `fnSetDIBitsToDevice`.
struct CqHeadlessDraw {
    const CDC* m_pDC = nullptr;
    const CWnd* m_pWindow = nullptr; ///< whose client area; null for the screen
    int m_nX = 0;
    int m_nY = 0;
    UINT m_nWidth = 0;
    UINT m_nHeight = 0;
    int m_nSourceX = 0;
    int m_nSourceY = 0;
    UINT m_nStartScan = 0;
    UINT m_nScans = 0;
    UINT m_nUse = 0;
    std::optional<BITMAPINFOHEADER> m_Header; ///< none if null
    std::vector<std::uint8_t> m_Table;        ///< the colour table declared by the header
    std::vector<std::uint8_t> m_Rows;         ///< the scans, in memory order, with their padding
    std::size_t m_nStride = 0;
    /// Entries of the selected palette; none without one.
    std::optional<std::vector<PALETTEENTRY>> m_Palette;
    int m_nResult = 0;
};

/// A screen whose pixels can be read back. A screen of 8 bits has a hardware palette, one of 16
/// truncates colours to 5-6-5. Windows don't cover each other.
class Q32_API CqHeadlessScreen final : public CqScreenService {
public:
    CqHeadlessScreen(const CqHeadlessMode& mode, std::shared_ptr<CqHeadlessMisuses> misuses);
    ~CqHeadlessScreen() override;

    CqHeadlessCalls m_GetDC;
    CqHeadlessCalls m_SetDIBits; ///< a failed call returns the result set by `fnSetFailedResult`
    CqHeadlessCalls m_CreatePalette;
    CqHeadlessCalls m_CreateRegion;
    /// Combinations of all regions; shared with them, because they may outlive the service.
    const std::shared_ptr<CqHeadlessCalls> m_pCombine = std::make_shared<CqHeadlessCalls>();

    /// Painting. Text is black on white, the button face C0C0C0h, any other system colour black.
    CqHeadlessPaintCalls m_Paint;
    /// Sets the height of the font for icon titles, as in LOGFONTA; initially that of the standard
    /// font.
    void fnSetIconTitleHeight(LONG height) { m_nIconTitleHeight = height; }

    /// Changes the screen while it runs: all pixels become black, and palettes have to be realized
    /// again. False, with no effect, for another depth, or a size below 1 or above 32767.
    bool fnSetMode(const CqHeadlessMode& mode);
    const CqHeadlessMode& fnGetMode() const { return m_Frame.m_Mode; }
    /// Sets the result of calls that `m_SetDIBits` makes fail: -1 (initially), or a number of rows,
    /// which are drawn.
    void fnSetFailedResult(int result) { m_nFailedResult = result; }

    /// The calls recorded so far. Recording can be switched off for long operations.
    const std::vector<CqHeadlessDraw>& fnGetDraws() const { return m_Draws; }
    void fnClearDraws() { m_Draws.clear(); }
    void fnKeepDraws(bool keep) { m_bKeep = keep; }

    /// Colour of a pixel, 0x00RRGGBB. The position must lie on the screen.
    std::uint32_t fnGetPixel(int x, int y) const;
    /// A pixel as stored: a slot of the hardware palette at 8 bits, 5-6-5 at 16, else its colour.
    std::uint32_t fnGetRawPixel(int x, int y) const;
    CqHeadlessPicture fnGetPicture() const;
    /// Fills the screen with a raw pixel value.
    void fnClear(std::uint32_t rawPixel = 0);
    const CqHeadlessHardware& fnGetHardware() const { return m_Frame.m_Hardware; }
    /// Number of device contexts not released yet.
    std::size_t fnGetOpenDCs() const { return m_DCs.size(); }

    CDC* fnGetDC(CWnd* window) override;
    void fnReleaseDC(CWnd* window, CDC* dc) noexcept override;
    /// Scans of a top-down bitmap, and so `sourceY`, count from its top row. Scans beyond the
    /// height declared by the header aren't taken. Pixels outside the client area or the screen are
    /// clipped; their scans count as taken. Bitmaps have 1, 4, 8, 16, 24 or 32 bits without
    /// compression; -1 for any other.
    int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                            int sourceY, UINT startScan, UINT scans, const void* bits,
                            const BITMAPINFOHEADER* header, UINT use) override;
    /// Fails for a version other than 0x300, and without entries.
    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override;
    void fnPaletteGone(const CPalette& palette) noexcept override;
    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override;
    bool fnGetIconTitleFont(LOGFONTA& font) override;
    std::unique_ptr<CqFontObject> fnCreateFont(const LOGFONTA& font) override;
    /// Null also for a width or height above 32767.
    std::unique_ptr<CqBitmapObject> fnCreateCompatibleBitmap(CDC* dc, int width,
                                                             int height) override;

private:
    Q32_LOCAL q32::headless::FrameContext* fnFindDC(const CDC* dc) const;

    q32::headless::FrameBuffer m_Frame;
    std::vector<CqHeadlessDraw> m_Draws;
    bool m_bKeep = true;
    int m_nFailedResult = -1;
    LONG m_nIconTitleHeight = CqHeadlessFont::kHeight;
    std::vector<std::unique_ptr<q32::headless::FrameContext>>
        m_DCs; ///< destroyed first: they report misuses
};
