#pragma once

#include "q32Base/platform/Records.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace q32::win32 {

/// The code page of the library's texts, converted by the system. Functions that don't return a
/// std::string allocate nothing.
class CodePage {
public:
    /// @param page  a number of the system; CP_ACP for the process's own, which a manifest may set
    ///              to UTF-8. An unknown one gives the process's own, and so does one other
    ///              than UTF-8 that has characters of more than two bytes.
    explicit CodePage(UINT page = CP_ACP);

    UINT fnGetNumber() const { return m_nPage; }

    /// Bytes of the character at `text`, of which `count` bytes (at least 1) are available. A byte
    /// that doesn't begin a complete character counts as a character of its own.
    std::size_t fnGetCharBytes(const char* text, std::size_t count) const;

    /// Bytes at the end of a text that begin a character, which lacks its other bytes.
    std::size_t fnCountUnfinished(std::string_view text) const;

    /// Converts to UTF-16 and appends a NUL. False, with the last error, if the bytes are no text
    /// of the code page, or the buffer of `size` units is too small.
    bool fnToWide(std::string_view text, wchar_t* buffer, int size) const;
    /// Converts to UTF-16. What is no text of the code page becomes a replacement character.
    std::wstring fnToWideAnyhow(std::string_view text) const;

    /// Converts from UTF-16. False, with `text` unchanged, unless every character has a form in the
    /// code page.
    bool fnFromWide(std::wstring_view wide, std::string& text) const;
    /// Converts from UTF-16. What has no form becomes the code page's default character.
    std::string fnFromWideAnyhow(std::wstring_view wide) const;

private:
    bool fnIsCharacter(const char* text, std::size_t bytes) const;

    UINT m_nPage;
};

} // namespace q32::win32
