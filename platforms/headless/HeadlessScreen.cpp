#include "platforms/headless/HeadlessScreen.h"

#include "platforms/headless/HeadlessDC.h"
#include "platforms/headless/HeadlessRegion.h"
#include "platforms/headless/HeadlessRows.h"

#include <algorithm>
#include <cassert>
#include <cstring>

CqHeadlessScreen::CqHeadlessScreen(const CqHeadlessMode& mode,
                                   std::shared_ptr<CqHeadlessMisuses> misuses)
    : m_pMisuses(std::move(misuses)) {
    if (!fnSetMode(mode))
        fnSetMode(CqHeadlessMode());
}

CqHeadlessScreen::~CqHeadlessScreen() = default;

bool CqHeadlessScreen::fnSetMode(const CqHeadlessMode& mode) {
    constexpr int kMax = 32767;
    const int bits = mode.m_nBits;
    if ((bits != 8 && bits != 16 && bits != 24 && bits != 32) || mode.m_nWidth < 1 ||
        mode.m_nHeight < 1 || mode.m_nWidth > kMax || mode.m_nHeight > kMax)
        return false;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(mode.m_nWidth) *
                                      static_cast<std::size_t>(mode.m_nHeight));
    m_Pixels = std::move(pixels);
    m_Mode = mode;
    m_Hardware.fnReset();
    return true;
}

void CqHeadlessScreen::fnClear(std::uint32_t rawPixel) {
    std::fill(m_Pixels.begin(), m_Pixels.end(), rawPixel);
}

std::uint32_t CqHeadlessScreen::fnGetRawPixel(int x, int y) const {
    assert(x >= 0 && y >= 0 && x < m_Mode.m_nWidth && y < m_Mode.m_nHeight);
    return const_cast<CqHeadlessScreen*>(this)->fnAt(x, y);
}

std::uint32_t CqHeadlessScreen::fnGetPixel(int x, int y) const {
    return q32::fnFromScreen(fnGetRawPixel(x, y), static_cast<unsigned>(m_Mode.m_nBits),
                             m_Hardware);
}

CqHeadlessPicture CqHeadlessScreen::fnGetPicture() const {
    CqHeadlessPicture picture;
    picture.m_nWidth = static_cast<std::size_t>(m_Mode.m_nWidth);
    picture.m_nHeight = static_cast<std::size_t>(m_Mode.m_nHeight);
    picture.m_Rgb.reserve(3 * m_Pixels.size());
    for (const std::uint32_t pixel : m_Pixels) {
        const std::uint32_t color =
            q32::fnFromScreen(pixel, static_cast<unsigned>(m_Mode.m_nBits), m_Hardware);
        for (const unsigned shift : {16u, 8u, 0u})
            picture.m_Rgb.push_back(static_cast<std::uint8_t>(color >> shift));
    }
    return picture;
}

CDC* CqHeadlessScreen::fnGetDC(CWnd* window) {
    if (!m_GetDC.fnPass() || (window && !window->IsWindow()))
        return nullptr;
    m_DCs.push_back(std::make_unique<CqHeadlessDC>(*this, window, false));
    return m_DCs.back().get();
}

CqHeadlessDC* CqHeadlessScreen::fnFindDC(const CDC* dc) const {
    const auto found = std::find_if(m_DCs.begin(), m_DCs.end(),
                                    [&](const auto& open) { return open.get() == dc; });
    return found == m_DCs.end() ? nullptr : found->get();
}

void CqHeadlessScreen::fnReleaseDC(CWnd* window, CDC* dc) noexcept {
    const CqHeadlessDC* found = fnFindDC(dc);
    if (!found || found->fnGetWindow() != window) {
        m_pMisuses->fnAdd("release of a device context that isn't open for that window");
        return;
    }
    std::erase_if(m_DCs, [&](const auto& open) { return open.get() == dc; });
}

int CqHeadlessScreen::fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height,
                                          int sourceX, int sourceY, UINT startScan, UINT scans,
                                          const void* bits, const BITMAPINFOHEADER* header,
                                          UINT use) {
    const bool pass = m_SetDIBits.fnPass();
    const CqHeadlessDC* target = fnFindDC(dc);
    CqHeadlessDraw draw{dc,        target ? target->fnGetWindow() : nullptr,
                        x,         y,
                        width,     height,
                        sourceX,   sourceY,
                        startScan, scans,
                        use,       {},
                        {},        {},
                        0,         {},
                        -1};
    q32::DibRows rows;
    const bool sound = header && q32::fnReadDibRows(*header, use, rows);
    std::size_t taken = 0;
    if (header)
        draw.m_Header = *header;
    if (target && target->fnGetPalette())
        draw.m_Palette = target->fnGetPalette()->fnGetEntries();
    if (sound) {
        const auto* table = reinterpret_cast<const std::uint8_t*>(header + 1);
        draw.m_Table.assign(table, table + rows.m_nTableBytes);
        draw.m_nStride = rows.m_nStride;
        taken = startScan >= rows.m_nHeight
                    ? 0
                    : std::min<std::size_t>(scans, rows.m_nHeight - startScan);
    }
    const auto* bytes = static_cast<const std::uint8_t*>(bits);
    if (bytes && m_bKeep)
        draw.m_Rows.assign(bytes, bytes + taken * draw.m_nStride);
    if (dc && !target)
        m_pMisuses->fnAdd("drawing on a device context that isn't open");
    if (!dc) {
        draw.m_nResult = 0;
    } else if (target && sound && bytes) {
        if (!pass)
            taken = std::min(taken, static_cast<std::size_t>(std::max(m_nFailedResult, 0)));
        draw.m_nResult = pass ? static_cast<int>(taken) : m_nFailedResult;
        fnDraw(*target, draw, rows, taken, bytes);
    }
    const int result = draw.m_nResult;
    if (m_bKeep)
        m_Draws.push_back(std::move(draw));
    return result;
}

void CqHeadlessScreen::fnDraw(const CqHeadlessDC& dc, const CqHeadlessDraw& draw,
                              const q32::DibRows& rows, std::size_t taken,
                              const std::uint8_t* bits) {
    CRect area = dc.fnGetArea();
    const CPoint origin = area.TopLeft();
    if (!area.IntersectRect(area, CRect(0, 0, m_Mode.m_nWidth, m_Mode.m_nHeight)))
        return;
    q32::RowConverter converter(rows, draw.m_Table.data(), draw.m_nUse,
                                static_cast<unsigned>(m_Mode.m_nBits), m_Hardware,
                                dc.fnGetPalette());
    // All in 64 bits: no place or size that a caller gives can overflow.
    using Wide = std::int64_t;
    const Wide left = Wide{draw.m_nX} + origin.x;
    const Wide top = Wide{draw.m_nY} + origin.y;
    const Wide from = std::max({Wide{0}, -Wide{draw.m_nSourceX}, area.left - left});
    const Wide to =
        std::min({Wide{draw.m_nWidth}, static_cast<Wide>(rows.m_nWidth) - draw.m_nSourceX,
                  area.right - left});
    if (from >= to)
        return;
    for (std::size_t i = 0; i < taken; ++i) {
        const Wide down = static_cast<Wide>(i) + draw.m_nStartScan - draw.m_nSourceY;
        const Wide row = top + (rows.m_bTopDown ? down : Wide{draw.m_nHeight} - 1 - down);
        if (down < 0 || down >= draw.m_nHeight || row < area.top || row >= area.bottom)
            continue;
        converter.fnConvert(bits + i * rows.m_nStride,
                            static_cast<std::size_t>(draw.m_nSourceX + from),
                            static_cast<std::size_t>(to - from),
                            &fnAt(static_cast<int>(left + from), static_cast<int>(row)));
    }
}

std::unique_ptr<CqPaletteObject> CqHeadlessScreen::fnCreatePalette(const LOGPALETTE& palette) {
    if (!m_CreatePalette.fnPass() || palette.palVersion != 0x300 || palette.palNumEntries == 0)
        return nullptr;
    std::vector<PALETTEENTRY> entries(palette.palNumEntries);
    // The record declares one entry; the others follow it in the caller's block.
    const auto* first =
        reinterpret_cast<const std::uint8_t*>(&palette) + offsetof(LOGPALETTE, palPalEntry);
    std::memcpy(entries.data(), first, entries.size() * sizeof(PALETTEENTRY));
    return std::make_unique<CqHeadlessPalette>(std::move(entries));
}

void CqHeadlessScreen::fnPaletteGone(const CPalette& palette) noexcept {
    for (const auto& dc : m_DCs)
        dc->fnForgetPalette(palette);
}

std::unique_ptr<CqRegionObject> CqHeadlessScreen::fnCreateRectRegion(const RECT& rect) {
    return m_CreateRegion.fnPass() ? std::make_unique<CqHeadlessRegion>(rect, m_pCombine) : nullptr;
}

bool CqHeadlessScreen::fnGetIconTitleFont(LOGFONTA& font) {
    if (!m_Paint.m_IconTitleFont.fnPass())
        return false;
    font = LOGFONTA{};
    font.lfHeight = m_nIconTitleHeight;
    font.lfWeight = 400;
    return true;
}

std::unique_ptr<CqFontObject> CqHeadlessScreen::fnCreateFont(const LOGFONTA& font) {
    return m_Paint.m_CreateFont.fnPass() ? std::make_unique<CqHeadlessFont>(font.lfHeight)
                                         : nullptr;
}

std::unique_ptr<CqBitmapObject> CqHeadlessScreen::fnCreateCompatibleBitmap(CDC* dc, int width,
                                                                           int height) {
    constexpr int kMax = 32767;
    if (!m_Paint.m_CreateBitmap.fnPass() || !dynamic_cast<CqHeadlessDC*>(dc) || width < 1 ||
        height < 1 || width > kMax || height > kMax)
        return nullptr;
    return std::make_unique<CqHeadlessBitmap>(width, height);
}
