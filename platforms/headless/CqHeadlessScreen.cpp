#include "platforms/headless/CqHeadlessScreen.h"

#include "platforms/headless/CqHeadlessRegion.h"
#include "platforms/headless/FrameContext_p.h"
#include "platforms/headless/FrameRows_p.h"
#include "platforms/software/DibRows_p.h"
#include "platforms/software/PaletteEntries_p.h"

#include <algorithm>
#include <cassert>

using namespace q32::headless;

CqHeadlessScreen::CqHeadlessScreen(const CqHeadlessMode& mode,
                                   std::shared_ptr<CqHeadlessMisuses> misuses) {
    m_Frame.m_pMisuses = std::move(misuses);
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
    m_Frame.m_Pixels = std::move(pixels);
    m_Frame.m_Mode = mode;
    m_Frame.m_Hardware.fnReset();
    return true;
}

void CqHeadlessScreen::fnClear(std::uint32_t rawPixel) {
    std::fill(m_Frame.m_Pixels.begin(), m_Frame.m_Pixels.end(), rawPixel);
}

std::uint32_t CqHeadlessScreen::fnGetRawPixel(int x, int y) const {
    assert(x >= 0 && y >= 0 && x < m_Frame.m_Mode.m_nWidth && y < m_Frame.m_Mode.m_nHeight);
    return m_Frame.m_Pixels[m_Frame.fnIndex(x, y)];
}

std::uint32_t CqHeadlessScreen::fnGetPixel(int x, int y) const {
    return fnFromScreen(fnGetRawPixel(x, y), static_cast<unsigned>(m_Frame.m_Mode.m_nBits),
                        m_Frame.m_Hardware);
}

CqHeadlessPicture CqHeadlessScreen::fnGetPicture() const {
    CqHeadlessPicture picture;
    picture.m_nWidth = static_cast<std::size_t>(m_Frame.m_Mode.m_nWidth);
    picture.m_nHeight = static_cast<std::size_t>(m_Frame.m_Mode.m_nHeight);
    picture.m_Rgb.reserve(3 * m_Frame.m_Pixels.size());
    for (const std::uint32_t pixel : m_Frame.m_Pixels) {
        const std::uint32_t color =
            fnFromScreen(pixel, static_cast<unsigned>(m_Frame.m_Mode.m_nBits), m_Frame.m_Hardware);
        for (const unsigned shift : {16u, 8u, 0u})
            picture.m_Rgb.push_back(static_cast<std::uint8_t>(color >> shift));
    }
    return picture;
}

CDC* CqHeadlessScreen::fnGetDC(CWnd* window) {
    if (!m_GetDC.fnPass() || (window && !window->IsWindow()))
        return nullptr;
    m_DCs.push_back(std::make_unique<FrameContext>(m_Frame, m_Paint, window, false));
    return m_DCs.back().get();
}

FrameContext* CqHeadlessScreen::fnFindDC(const CDC* dc) const {
    const auto found = std::find_if(m_DCs.begin(), m_DCs.end(),
                                    [&](const auto& open) { return open.get() == dc; });
    return found == m_DCs.end() ? nullptr : found->get();
}

void CqHeadlessScreen::fnReleaseDC(CWnd* window, CDC* dc) noexcept {
    const FrameContext* found = fnFindDC(dc);
    if (!found || found->fnGetWindow() != window) {
        m_Frame.m_pMisuses->fnAdd("release of a device context that isn't open for that window");
        return;
    }
    std::erase_if(m_DCs, [&](const auto& open) { return open.get() == dc; });
}

int CqHeadlessScreen::fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height,
                                          int sourceX, int sourceY, UINT startScan, UINT scans,
                                          const void* bits, const BITMAPINFOHEADER* header,
                                          UINT use) {
    const bool pass = m_SetDIBits.fnPass();
    const FrameContext* target = fnFindDC(dc);
    CqHeadlessDraw draw{dc,        target ? target->fnGetWindow() : nullptr,
                        x,         y,
                        width,     height,
                        sourceX,   sourceY,
                        startScan, scans,
                        use,       {},
                        {},        {},
                        0,         {},
                        -1};
    const q32::software::RowJob job{x,         y,     width, height, sourceX, sourceY,
                                    startScan, scans, bits,  header, use};
    q32::software::DibRows rows;
    const bool sound = header && q32::software::fnReadDibRows(*header, use, rows);
    std::size_t taken = 0;
    if (header)
        draw.m_Header = *header;
    if (target && target->fnGetPalette())
        draw.m_Palette = target->fnGetPalette()->fnGetEntries();
    if (sound) {
        const auto* table = reinterpret_cast<const std::uint8_t*>(header + 1);
        draw.m_Table.assign(table, table + rows.m_nTableBytes);
        draw.m_nStride = rows.m_nStride;
        taken = q32::software::fnCountScans(job, rows);
    }
    const auto* bytes = static_cast<const std::uint8_t*>(bits);
    if (bytes && m_bKeep)
        draw.m_Rows.assign(bytes, bytes + taken * draw.m_nStride);
    if (dc && !target)
        m_Frame.m_pMisuses->fnAdd("drawing on a device context that isn't open");
    if (!dc) {
        draw.m_nResult = 0;
    } else if (target && sound && bytes) {
        if (!pass)
            taken = std::min(taken, static_cast<std::size_t>(std::max(m_nFailedResult, 0)));
        draw.m_nResult = pass ? static_cast<int>(taken) : m_nFailedResult;
        CRect area = target->fnGetArea();
        const CPoint origin = area.TopLeft();
        const CRect screen(0, 0, m_Frame.m_Mode.m_nWidth, m_Frame.m_Mode.m_nHeight);
        if (area.IntersectRect(area, screen)) {
            FrameRows frameRows(rows, draw.m_Table.data(), use,
                                static_cast<unsigned>(m_Frame.m_Mode.m_nBits), m_Frame.m_Hardware,
                                target->fnGetPalette());
            fnPlaceRows(job, rows, taken, origin, area,
                        [&](const std::uint8_t* row, std::size_t from, std::size_t count, int toX,
                            int toY) {
                            frameRows.fnConvert(row, from, count,
                                                &m_Frame.m_Pixels[m_Frame.fnIndex(toX, toY)]);
                        });
        }
    }
    const int result = draw.m_nResult;
    if (m_bKeep)
        m_Draws.push_back(std::move(draw));
    return result;
}

std::unique_ptr<CqPaletteObject> CqHeadlessScreen::fnCreatePalette(const LOGPALETTE& palette) {
    std::vector<PALETTEENTRY> entries;
    if (m_CreatePalette.fnPass())
        entries = q32::software::fnReadPaletteEntries(palette);
    return entries.empty() ? nullptr : std::make_unique<CqHeadlessPalette>(std::move(entries));
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
    if (!m_Paint.m_CreateBitmap.fnPass() || !dynamic_cast<FrameContext*>(dc) || width < 1 ||
        height < 1 || width > kMax || height > kMax)
        return nullptr;
    return std::make_unique<Bitmap>(width, height);
}
