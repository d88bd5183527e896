#include "platforms/headless/CqHeadlessDumpView.h"

#include "q32Base/framework/CFont.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

/// Default position of a window.
constexpr LONG kDefaultCorner = 22;
constexpr LONG kDefaultColumns = 80;
constexpr LONG kDefaultRows = 30;

/// Largest coordinate of a window.
constexpr LONG kFar = 32767;

/// Makes a place valid: sizes below 0 become 0, and coordinates are clamped.
CRect fnFit(const CRect& place) {
    const LONG left = std::clamp(place.left, -kFar, kFar);
    const LONG top = std::clamp(place.top, -kFar, kFar);
    return {left, top, left + std::clamp(place.Width(), LONG{0}, kFar),
            top + std::clamp(place.Height(), LONG{0}, kFar)};
}

std::vector<std::pair<std::string, std::string>> fnReadFilter(const char* filter) {
    std::vector<std::pair<std::string, std::string>> pairs;
    while (filter && *filter) {
        const std::string label = filter;
        const std::string mask = filter + label.size() + 1;
        pairs.emplace_back(label, mask);
        filter += label.size() + 1 + mask.size() + 1;
    }
    return pairs;
}

std::string fnWithExtension(const std::string& name, const std::string& extension) {
    const std::size_t separator = name.find_last_of("\\/");
    const std::size_t begin = separator == std::string::npos ? 0 : separator + 1;
    return name.find('.', begin) == std::string::npos ? name + '.' + extension : name;
}

std::string fnToCells(std::string_view text, std::size_t columns) {
    std::string cells(text.substr(0, columns));
    std::replace_if(
        cells.begin(), cells.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; },
        ' ');
    cells.resize(columns, ' ');
    return cells;
}

} // namespace

CqHeadlessDumpView::CqHeadlessDumpView(const CqDumpViewSetup& setup, CqDumpViewEvents& events,
                                       std::shared_ptr<CqHeadlessDumpDesk> desk)
    : m_Events(events), m_pDesk(std::move(desk)), m_szCaption(setup.m_szCaption),
      m_szIdlePrompt(setup.m_szIdlePrompt),
      m_Place(fnFit(setup.m_Place.value_or(
          CRect(CPoint(kDefaultCorner, kDefaultCorner),
                CSize(kDefaultColumns * kCellWidth, kDefaultRows * kCellHeight))))) {
    m_pDesk->m_Views.push_back(this);
}

CqHeadlessDumpView::~CqHeadlessDumpView() {
    std::erase(m_pDesk->m_Views, this);
}

CqHeadlessDumpView* CqHeadlessDumpView::fnFind(const CqHeadlessDumpDesk& desk) {
    return desk.m_Views.empty() ? nullptr : desk.m_Views.back();
}

std::string CqHeadlessDumpView::fnGetStatusText() const {
    if (!m_bStatusBar)
        return {};
    for (const MenuItem& item : m_Menu)
        if (item.m_nId != 0 && item.m_nId == m_nHighlighted)
            return item.m_szPrompt;
    return m_szIdlePrompt;
}

std::vector<std::string> CqHeadlessDumpView::fnGetCells() const {
    const auto columns = static_cast<std::size_t>(m_Place.Width() / kCellWidth);
    const int height = m_Place.Height();
    const CSize textCell(m_Font.fnMeasure(1));
    std::vector<std::string> cells;
    if (!m_bShown || height < kCellHeight)
        return cells;
    cells.push_back(fnToCells(m_szCaption, columns));
    const int rows = std::max(height - 2 * kCellHeight, 0) / textCell.cy;
    for (std::size_t row = 0; row < static_cast<std::size_t>(rows); ++row)
        cells.push_back(
            fnGetRow(m_nTopRow + row, static_cast<std::size_t>(m_Place.Width() / textCell.cx)));
    if (height >= 2 * kCellHeight)
        cells.push_back(fnToCells(fnGetStatusText(), columns));
    return cells;
}

std::string CqHeadlessDumpView::fnGetRow(std::size_t row, std::size_t columns) const {
    if (row >= m_Rows.size())
        return fnToCells({}, columns);
    const std::size_t end = row + 1 < m_Rows.size() ? m_Rows[row + 1] : m_szText.size();
    std::string_view text(m_szText);
    text = text.substr(m_Rows[row], end - m_Rows[row]);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.remove_suffix(1);
    return fnToCells(text.substr(std::min(m_nLeftColumn, text.size())), columns);
}

void CqHeadlessDumpView::fnMove(const RECT& place) {
    m_Place = fnFit(place);
}

void CqHeadlessDumpView::fnScroll(std::size_t row, std::size_t column) {
    m_nTopRow = std::min(row, m_Rows.size() - 1);
    m_nLeftColumn = column;
}

bool CqHeadlessDumpView::fnChoose(UINT id) {
    m_nHighlighted = 0;
    return m_Events.fnOnSysCommand(id);
}

bool CqHeadlessDumpView::fnCreateStatusBar() {
    m_bStatusBar = m_pDesk->m_CreateStatusBar.fnPass();
    return m_bStatusBar;
}

void CqHeadlessDumpView::fnSetFont(const CFont& font) {
    if (const auto* own = dynamic_cast<const CqHeadlessFont*>(font.GetObject()))
        m_Font = *own;
}

void CqHeadlessDumpView::fnInsertMenuItem(const CqDumpMenuItem& item) {
    m_Menu.insert(m_Menu.begin(), {item.m_nId, item.m_szText ? item.m_szText : "",
                                   item.m_szPrompt ? item.m_szPrompt : "", false});
}

void CqHeadlessDumpView::fnCheckMenuItem(UINT id, bool checked) {
    for (MenuItem& item : m_Menu)
        if (item.m_nId == id)
            item.m_bChecked = checked;
}

void CqHeadlessDumpView::fnSetText(const char* text, std::size_t length) {
    if (!m_pDesk->m_SetText.fnPass())
        throw std::bad_alloc();
    m_szText.clear();
    m_Rows.assign(1, 0);
    m_pDesk->m_nTextBytes += length;
    m_szText.assign(text, length);
    for (std::size_t at = 0; at < length; ++at)
        if (text[at] == '\n')
            m_Rows.push_back(at + 1);
    m_nTopRow = std::min(m_nTopRow, m_Rows.size() - 1);
}

bool CqHeadlessDumpView::fnAppendText(const char* text, std::size_t length) {
    if (!m_pDesk->m_bAppends)
        return false;
    if (!m_pDesk->m_AppendText.fnPass())
        throw std::bad_alloc();
    m_pDesk->m_nTextBytes += length;
    const std::size_t before = m_szText.size();
    m_szText.append(text, length);
    for (std::size_t at = 0; at < length; ++at)
        if (text[at] == '\n')
            m_Rows.push_back(before + at + 1);
    return true;
}

bool CqHeadlessDumpView::fnAskSaveName(const CqSaveRequest& request, std::string& path) {
    CqHeadlessSaveDialog dialog;
    dialog.m_szDefaultExtension = request.m_szDefaultExtension;
    dialog.m_nFlags = request.m_nFlags;
    dialog.m_Filters = fnReadFilter(request.m_pszFilter);
    if (request.m_szFolder)
        dialog.m_Folder = request.m_szFolder;
    if (m_pDesk->m_OnSaveDialog)
        m_pDesk->m_OnSaveDialog(dialog);
    if (!m_pDesk->m_Answers.empty()) {
        dialog.m_Answer = std::move(m_pDesk->m_Answers.front());
        m_pDesk->m_Answers.pop_front();
    }
    if (dialog.m_Answer) {
        dialog.m_Answer = fnWithExtension(*dialog.m_Answer, dialog.m_szDefaultExtension);
        path = *dialog.m_Answer;
    }
    m_pDesk->m_SaveDialogs.push_back(dialog);
    return dialog.m_Answer.has_value();
}
