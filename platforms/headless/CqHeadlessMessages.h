#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "q32Base/platform/CqMessageService.h"
#include "q32Base/platform/Export.h"

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// A message box as it was shown.
struct CqHeadlessBox {
    std::string m_szText;                 ///< in the code page
    UINT m_nStyle = 0;                    ///< all MB_ bits
    std::optional<std::string> m_Caption; ///< none when there was no application
    int m_nAnswer = 0;                    ///< 0 when it could not be shown

    /// The MB_ bits of the buttons.
    UINT fnGetButtons() const { return m_nStyle & 0xFu; }
    /// The MB_ICON bits.
    UINT fnGetIcon() const { return m_nStyle & MB_ICONMASK; }
};

/// Message boxes that are recorded and answered by a script, and the system's last error.
class Q32_API CqHeadlessMessages final : public CqMessageService {
public:
    /// With no last error, and with texts for codes 2, 3, 5, 8, 32 and 112.
    CqHeadlessMessages();

    CqHeadlessCalls m_ShowBox;     ///< a failed one is recorded with the answer 0
    CqHeadlessCalls m_FormatError; ///< a failed one gives no text

    /// Called while a box is open, after it was recorded and before it is answered.
    std::function<void(const CqHeadlessBox&)> m_OnBox;

    /// Answers the next box without an answer. Boxes without one are answered with their first
    /// button.
    void fnAnswer(int button) { m_Answers.push_back(button); }
    /// The boxes so far, or since they were last cleared.
    const std::vector<CqHeadlessBox>& fnGetBoxes() const { return m_Boxes; }
    /// Forgets the boxes; answers that are waiting stay.
    void fnClearBoxes() { m_Boxes.clear(); }
    /// Sets the system's last error; initially 0, for none.
    void fnSetLastError(DWORD code) { m_nLastError = code; }
    /// Sets the system's text for a code; none: the code has no text.
    void fnSetErrorText(DWORD code, std::optional<std::string> text);

    int fnShowBox(const char* text, UINT style, const char* caption) override;
    DWORD fnGetLastError() override { return m_nLastError; }
    bool fnFormatError(DWORD code, std::string& text) override;

private:
    std::vector<CqHeadlessBox> m_Boxes;
    std::deque<int> m_Answers;
    DWORD m_nLastError = 0;
    std::map<DWORD, std::string> m_ErrorTexts;
};
