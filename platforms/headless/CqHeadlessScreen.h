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
    const CDC* m_pDC = nullptr;      ///< as passed; not to be dereferenced
    const CWnd* m_pWindow = nullptr; ///< whose client area; null for the screen
    int m_nX = 0;          ///< left edge of the target, in the device context's coordinates
    int m_nY = 0;          ///< its top edge
    UINT m_nWidth = 0;     ///< its width in pixels
    UINT m_nHeight = 0;    ///< its height in pixels
    int m_nSourceX = 0;    ///< first column of the bitmap
    int m_nSourceY = 0;    ///< first scan of the bitmap
    UINT m_nStartScan = 0; ///< number of the first scan that was passed
    UINT m_nScans = 0;     ///< number of scans that were passed
    UINT m_nUse = 0;       ///< DIB_RGB_COLORS or DIB_PAL_COLORS
    std::optional<BITMAPINFOHEADER> m_Header; ///< none if null
    std::vector<std::uint8_t> m_Table;        ///< the colour table declared by the header
    std::vector<std::uint8_t> m_Rows;         ///< the scans, in memory order, with their padding
    std::size_t m_nStride = 0;                ///< bytes from one of them to the next
    std::optional<std::vector<PALETTEENTRY>> m_Palette; ///< entries of the selected palette, if any
    int m_nResult = 0;                                  ///< what the call returned
};

/// A screen whose pixels can be read back. A screen of 8 bits has a hardware palette, one of 16
/// truncates colours to 5-6-5. Windows don't cover each other.
class Q32_API CqHeadlessScreen final : public CqScreenService {
public:
    /// All black. `misuses` receives what is done with device contexts that aren't open.
    CqHeadlessScreen(const CqHeadlessMode& mode, std::shared_ptr<CqHeadlessMisuses> misuses);
    ~CqHeadlessScreen() override;

    CqHeadlessCalls m_GetDC;     ///< calls of `fnGetDC`; a failed one returns null
    CqHeadlessCalls m_SetDIBits; ///< a failed call returns the result set by `fnSetFailedResult`
    CqHeadlessCalls m_CreatePalette; ///< calls of `fnCreatePalette`; a failed one returns null
    CqHeadlessCalls m_CreateRegion;  ///< calls of `fnCreateRectRegion`; a failed one returns null

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
    /// The present size, depth and resolution.
    const CqHeadlessMode& fnGetMode() const { return m_Frame.m_Mode; }
    /// Sets the result of calls that `m_SetDIBits` makes fail: -1 (initially), or a number of rows,
    /// which are drawn.
    void fnSetFailedResult(int result) { m_nFailedResult = result; }

    /// The calls of `fnSetDIBitsToDevice` recorded so far, or since they were last cleared.
    const std::vector<CqHeadlessDraw>& fnGetDraws() const { return m_Draws; }
    /// Forgets the recorded calls.
    void fnClearDraws() { m_Draws.clear(); }
    /// Whether calls are recorded; initially true. Switch it off for long operations: each keeps a
    /// copy of its rows.
    void fnKeepDraws(bool keep) { m_bKeep = keep; }

    /// Colour of a pixel, 0x00RRGGBB. The position must lie on the screen.
    std::uint32_t fnGetPixel(int x, int y) const;
    /// A pixel as stored: a slot of the hardware palette at 8 bits, 5-6-5 at 16, else its colour.
    std::uint32_t fnGetRawPixel(int x, int y) const;
    /// All pixels, as their colours.
    CqHeadlessPicture fnGetPicture() const;
    /// Fills the screen with a raw pixel value.
    void fnClear(std::uint32_t rawPixel = 0);
    /// The hardware palette, which only a screen of 8 bits uses.
    const CqHeadlessHardware& fnGetHardware() const { return m_Frame.m_Hardware; }
    /// Number of device contexts not released yet.
    std::size_t fnGetOpenDCs() const { return m_DCs.size(); }

    CDC* fnGetDC(CWnd* window) override;
    void fnReleaseDC(CWnd* window, CDC* dc) noexcept override;
    /// @copydoc CqScreenService::fnSetDIBitsToDevice
    ///
    /// Scans of a top-down bitmap, and so `sourceY`, count from its top row. Scans beyond the
    /// height declared by the header aren't taken. Pixels outside the client area or the screen are
    /// clipped; their scans count as taken. Bitmaps have 1, 4, 8, 16, 24 or 32 bits without
    /// compression; -1 for any other.
    int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                            int sourceY, UINT startScan, UINT scans, const void* bits,
                            const BITMAPINFOHEADER* header, UINT use) override;
    /// @copydoc CqScreenService::fnCreatePalette
    ///
    /// Fails for a version other than 0x300, and without entries.
    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override;
    void fnPaletteGone(const CPalette& palette) noexcept override;
    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override;
    bool fnGetIconTitleFont(LOGFONTA& font) override;
    std::unique_ptr<CqFontObject> fnCreateFont(const LOGFONTA& font) override;
    /// @copydoc CqScreenService::fnCreateCompatibleBitmap
    ///
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
