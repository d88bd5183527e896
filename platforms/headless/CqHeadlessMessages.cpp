#include "platforms/headless/CqHeadlessMessages.h"

#include <utility>

CqHeadlessMessages::CqHeadlessMessages()
    : m_ErrorTexts{{2, "There is no such file.\r\n"},
                   {3, "There is no such folder.\r\n"},
                   {5, "Access was refused.\r\n"},
                   {8, "Memory is short.\r\n"},
                   {32, "Another program uses the file.\r\n"},
                   {112, "The disk is full.\r\n"}} {}

void CqHeadlessMessages::fnSetErrorText(DWORD code, std::optional<std::string> text) {
    if (text)
        m_ErrorTexts[code] = std::move(*text);
    else
        m_ErrorTexts.erase(code);
}

int CqHeadlessMessages::fnShowBox(const char* text, UINT style, const char* caption) {
    CqHeadlessBox box;
    box.m_szText = text ? text : "";
    box.m_nStyle = style;
    if (caption)
        box.m_Caption = caption;
    const std::size_t index = m_Boxes.size();
    m_Boxes.push_back(box);
    if (!m_ShowBox.fnPass())
        return 0;
    if (m_OnBox)
        m_OnBox(box);
    const UINT buttons = box.fnGetButtons();
    int answer = buttons == MB_YESNO || buttons == MB_YESNOCANCEL ? IDYES : IDOK;
    if (!m_Answers.empty()) {
        answer = m_Answers.front();
        m_Answers.pop_front();
    }
    if (index < m_Boxes.size()) // a script may have cleared them meanwhile
        m_Boxes[index].m_nAnswer = answer;
    return answer;
}

bool CqHeadlessMessages::fnFormatError(DWORD code, std::string& text) {
    const auto found = m_ErrorTexts.find(code);
    if (!m_FormatError.fnPass() || found == m_ErrorTexts.end())
        return false;
    text = found->second;
    return true;
}
