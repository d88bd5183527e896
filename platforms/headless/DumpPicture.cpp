/// @file
/// Rendering of the dump window to pixels.

#include "platforms/headless/CqHeadlessDumpView.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr std::uint32_t kInk = 0x000000;
constexpr std::uint32_t kPaper = 0xFFFFFF;
constexpr std::uint32_t kFace = 0xC0C0C0;
constexpr std::uint32_t kShadow = 0x808080;
constexpr std::uint32_t kMarked = 0x000080; ///< the caption and the highlighted item

constexpr int kCellWidth = CqHeadlessDumpView::kCellWidth;
constexpr int kCellHeight = CqHeadlessDumpView::kCellHeight;

/// Pixels for filling and text, clipped.
class Canvas {
public:
    explicit Canvas(const CSize& size) : m_Area(CPoint(0, 0), size) {
        m_Picture.m_nWidth = static_cast<std::size_t>(size.cx);
        m_Picture.m_nHeight = static_cast<std::size_t>(size.cy);
        m_Picture.m_Rgb.resize(3 * m_Picture.m_nWidth * m_Picture.m_nHeight);
    }

    void fnFill(const CRect& rect, std::uint32_t color) {
        CRect part;
        part.IntersectRect(rect, m_Area);
        for (int y = part.top; y < part.bottom; ++y)
            for (int x = part.left; x < part.right; ++x)
                fnSet(x, y, color);
    }

    /// Draws a line of text without a background.
    void fnWrite(std::string_view text, const CPoint& corner, const CqHeadlessFont& font,
                 std::uint32_t color) {
        const CSize cell(font.fnMeasure(1));
        CRect place(corner, cell);
        for (const char sign : text) {
            CRect part;
            part.IntersectRect(place, m_Area);
            for (int y = part.top; y < part.bottom; ++y)
                for (int x = part.left; x < part.right; ++x)
                    if (font.fnIsInk(sign, x - place.left, y - place.top))
                        fnSet(x, y, color);
            place.OffsetRect(cell.cx, 0);
        }
    }

    CqHeadlessPicture m_Picture;

private:
    void fnSet(int x, int y, std::uint32_t color) {
        std::uint8_t* pixel =
            &m_Picture.m_Rgb[3 * (static_cast<std::size_t>(y) * m_Picture.m_nWidth +
                                  static_cast<std::size_t>(x))];
        for (const int shift : {16, 8, 0})
            *pixel++ = static_cast<std::uint8_t>(color >> shift);
    }

    const CRect m_Area;
};

/// Draws an open menu with its corner at `at`: two columns for the check marks, then the texts, and
/// a column at the right.
void fnDrawMenu(Canvas& canvas, const CPoint& at,
                const std::vector<CqHeadlessDumpView::MenuItem>& menu, UINT highlighted) {
    const CqHeadlessFont font(kCellHeight);
    std::size_t columns = 0;
    for (const auto& item : menu)
        columns = std::max(columns, item.m_szText.size() + 3);
    CRect row(at, CSize(static_cast<int>(columns) * kCellWidth, kCellHeight));
    for (const auto& item : menu) {
        const bool marked = item.m_nId != 0 && item.m_nId == highlighted;
        const std::uint32_t ink = marked ? kPaper : kInk;
        canvas.fnFill(row, marked ? kMarked : kFace);
        if (item.m_nId == 0) {
            const int middle = row.top + kCellHeight / 2;
            canvas.fnFill({row.left, middle, row.right, middle + 1}, kShadow);
        }
        if (item.m_bChecked)
            canvas.fnWrite("*", {row.left + kCellWidth / 2, row.top}, font, ink);
        std::string text = item.m_szText;
        const std::size_t key = text.find('&');
        CPoint corner(row.left + 2 * kCellWidth, row.top);
        if (key != std::string::npos) {
            text.erase(key, 1);
            const int left = corner.x + static_cast<int>(key) * kCellWidth;
            canvas.fnFill({left, row.bottom - 1, left + kCellWidth - 1, row.bottom}, ink);
        }
        canvas.fnWrite(text, corner, font, ink);
        row.OffsetRect(0, kCellHeight);
    }
}

} // namespace

CqHeadlessPicture CqHeadlessDumpView::fnGetPicture() const {
    const std::vector<std::string> cells = fnGetCells();
    if (cells.empty())
        return {};
    const CqHeadlessFont frameFont(kCellHeight);
    const CSize size = m_Place.Size();
    const int line = m_Font.fnGetMetrics().tmHeight;
    Canvas canvas(size);
    canvas.fnFill({0, 0, size.cx, kCellHeight}, kMarked);
    canvas.fnWrite(cells.front(), {0, 0}, frameFont, kPaper);
    canvas.fnFill({0, kCellHeight, size.cx, size.cy}, kPaper);
    for (std::size_t row = 1; row + 1 < cells.size(); ++row)
        canvas.fnWrite(cells[row], {0, kCellHeight + (static_cast<int>(row) - 1) * line}, m_Font,
                       kInk);
    if (cells.size() > 1) {
        const int top = size.cy - kCellHeight;
        canvas.fnFill({0, top, size.cx, size.cy}, kFace);
        canvas.fnWrite(cells.back(), {0, top}, frameFont, kInk);
    }
    if (m_nHighlighted != 0)
        fnDrawMenu(canvas, {0, kCellHeight}, m_Menu, m_nHighlighted);
    return canvas.m_Picture;
}
