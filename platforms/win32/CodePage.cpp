#include "platforms/win32/CodePage_p.h"

#include <algorithm>

namespace q32::win32 {

namespace {

/// Other pages with longer characters have states or four bytes, and no exact conversion.
UINT fnChoose(UINT page) {
    CPINFO info;
    const bool isUsable =
        page != CP_ACP && ::GetCPInfo(page, &info) && (page == CP_UTF8 || info.MaxCharSize <= 2);
    return isUsable ? page : ::GetACP();
}

/// Length of the UTF-8 sequence that begins with a byte; 1 for a byte that begins none.
std::size_t fnGetSequence(unsigned char first) {
    return first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

} // namespace

CodePage::CodePage(UINT page) : m_nPage(fnChoose(page)) {}

bool CodePage::fnIsCharacter(const char* text, std::size_t bytes) const {
    wchar_t wide[4];
    return ::MultiByteToWideChar(m_nPage, MB_ERR_INVALID_CHARS, text, static_cast<int>(bytes), wide,
                                 4) > 0;
}

std::size_t CodePage::fnGetCharBytes(const char* text, std::size_t count) const {
    const auto first = static_cast<unsigned char>(*text);
    if (first < 0x80)
        return 1;
    const std::size_t bytes = m_nPage == CP_UTF8                   ? fnGetSequence(first)
                              : ::IsDBCSLeadByteEx(m_nPage, first) ? 2
                                                                   : 1;
    return bytes > 1 && bytes <= count && fnIsCharacter(text, bytes) ? bytes : 1;
}

std::size_t CodePage::fnCountUnfinished(std::string_view text) const {
    if (m_nPage == CP_UTF8) {
        for (std::size_t count = 1; count <= std::min<std::size_t>(3, text.size()); ++count) {
            const auto byte = static_cast<unsigned char>(text[text.size() - count]);
            if (byte < 0x80 || byte >= 0xC0)
                return fnGetSequence(byte) > count ? count : 0;
        }
        return 0;
    }
    // A second byte may look like a first one: only a scan from the beginning tells which it is.
    std::size_t at = 0;
    while (at + 1 < text.size())
        at += fnGetCharBytes(text.data() + at, text.size() - at);
    return at < text.size() && ::IsDBCSLeadByteEx(m_nPage, static_cast<BYTE>(text[at])) ? 1 : 0;
}

bool CodePage::fnToWide(std::string_view text, wchar_t* buffer, int size) const {
    int length = 0;
    if (!text.empty()) {
        if (text.size() >= static_cast<std::size_t>(size)) {
            ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
            return false;
        }
        length = ::MultiByteToWideChar(m_nPage, MB_ERR_INVALID_CHARS, text.data(),
                                       static_cast<int>(text.size()), buffer, size - 1);
        if (length == 0)
            return false;
    }
    buffer[length] = L'\0';
    return true;
}

std::wstring CodePage::fnToWideAnyhow(std::string_view text) const {
    std::wstring wide(text.size(), L'\0'); // no character takes more units than bytes
    const int length =
        text.empty() ? 0
                     : ::MultiByteToWideChar(m_nPage, 0, text.data(), static_cast<int>(text.size()),
                                             wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(length));
    return wide;
}

bool CodePage::fnFromWide(std::wstring_view wide, std::string& text) const {
    if (wide.empty()) {
        text.clear();
        return true;
    }
    const bool isUtf8 = m_nPage == CP_UTF8;
    const DWORD flags = isUtf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    BOOL isLost = FALSE;
    std::string bytes(wide.size() * 4, '\0');
    const int length = ::WideCharToMultiByte(
        m_nPage, flags, wide.data(), static_cast<int>(wide.size()), bytes.data(),
        static_cast<int>(bytes.size()), nullptr, isUtf8 ? nullptr : &isLost);
    if (length == 0 || isLost)
        return false;
    bytes.resize(static_cast<std::size_t>(length));
    text = std::move(bytes);
    return true;
}

std::string CodePage::fnFromWideAnyhow(std::wstring_view wide) const {
    std::string bytes(wide.size() * 4, '\0');
    const int length =
        wide.empty()
            ? 0
            : ::WideCharToMultiByte(m_nPage, 0, wide.data(), static_cast<int>(wide.size()),
                                    bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

} // namespace q32::win32
