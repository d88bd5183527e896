#include "q32Base/services/CqDumpBin.h"

#include "q32Base/framework/CFile.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/services/CqDumpWnd_p.h"

#include <cassert>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

char CqDumpBin::m_szFloatFmt[16] = "%.02f";

namespace {

constexpr std::uint32_t kFirstCapacity = 1024;
constexpr std::uint32_t kLargeCapacity = 0x100000;

/// Bytes of the longest number with its NUL.
constexpr std::size_t kNumberBytes = std::numeric_limits<unsigned long>::digits10 + 4;

/// What the C library prints before decimals in the locale in force.
std::string fnFindPoint() {
    char shown[16];
    std::snprintf(shown, sizeof(shown), "%.1f", 0.5);
    return {shown + 1, std::strlen(shown) - 2};
}

/// The text of a part of a format that holds no conversion.
std::string fnUnescape(std::string_view part) {
    std::string text;
    for (; !part.empty(); part.remove_prefix(part.starts_with("%%") ? 2 : 1))
        text += part.front();
    return text;
}

/// A number as the format gives it in the "C" locale: a log doesn't depend on the host's language.
CString fnFormatNumber(const char* format, double value) {
    CString text;
    const std::string point = fnFindPoint();
    if (point == "." && !std::strchr(format, '\'')) {
        text.Format(format, value);
        return text;
    }
    // The text around the conversion may contain what looks like the point.
    std::size_t at = 0;
    while (format[at] && (format[at] != '%' || format[at + 1] == '%'))
        at += format[at] == '%' ? 2 : 1;
    const std::size_t letter = at + std::strcspn(format + at, "aAeEfFgG");
    const std::size_t end = format[letter] ? letter + 1 : letter;
    std::string conversion(format + at, end - at);
    std::erase(conversion, '\''); // groups digits, but not in the "C" locale
    text.Format(conversion.c_str(), value);
    std::string number(text);
    if (const std::size_t found = number.find(point); found != std::string::npos) {
        number[found] = '.';
        number.erase(found + 1, point.size() - 1);
    }
    return (fnUnescape({format, at}) + number + fnUnescape(format + end)).c_str();
}

} // namespace

CqDumpBin::~CqDumpBin() {
    CqDumpWnd::fnForget(this);
    delete[] m_pBuffer;
}

CqDumpBin& CqDumpBin::operator<<(const char* pszText) {
    if (!pszText || !*pszText)
        return *this;
    const std::unique_ptr<char[]> lines(q32::fnNewArray<char>(2 * std::strlen(pszText) + 1));
    char* out = lines.get();
    for (; *pszText; ++pszText) {
        if (*pszText == '\n')
            *out++ = '\r';
        *out++ = *pszText;
    }
    *out = 0;
    fnOutputString(lines.get());
    return *this;
}

CqDumpBin& CqDumpBin::operator<<(unsigned char n) {
    return *this << int{n};
}

CqDumpBin& CqDumpBin::operator<<(unsigned short n) {
    return *this << int{n};
}

CqDumpBin& CqDumpBin::operator<<(int n) {
    return *this << long{n};
}

CqDumpBin& CqDumpBin::operator<<(unsigned int n) {
    char text[kNumberBytes];
    std::snprintf(text, sizeof(text), "0x%X", n);
    fnOutputString(text);
    return *this;
}

CqDumpBin& CqDumpBin::operator<<(long n) {
    char text[kNumberBytes];
    std::snprintf(text, sizeof(text), "%ld", n);
    fnOutputString(text);
    return *this;
}

CqDumpBin& CqDumpBin::operator<<(unsigned long n) {
    char text[kNumberBytes];
    std::snprintf(text, sizeof(text), "%lu", n);
    fnOutputString(text);
    return *this;
}

CqDumpBin& CqDumpBin::operator<<(float f) {
    return *this << double{f};
}

CqDumpBin& CqDumpBin::operator<<(double d) {
    fnOutputString(q32::fnGuardMemory([d] { return fnFormatNumber(m_szFloatFmt, d); }));
    return *this;
}

void CqDumpBin::fnOutputString(const char* pszText) {
    if (!pszText || !*pszText)
        return;
    const std::size_t added = std::strlen(pszText);
    if (std::uint64_t{added} + m_nLength >= m_nCapacity)
        fnGrow(added);
    assert(m_nLength + added < m_nCapacity); // a NUL follows
    std::memcpy(m_pBuffer + m_nLength, pszText, added);
    const std::uint32_t before = m_nLength;
    m_nLength += static_cast<std::uint32_t>(added);
    CqDumpWnd::fnShowText(this, m_pBuffer, m_nLength, before);
}

void CqDumpBin::fnGrow(std::size_t added) {
    const std::uint32_t part = m_nCapacity <= kLargeCapacity ? 10 : 100;
    std::uint64_t capacity = std::uint64_t{m_nCapacity} + m_nCapacity / part + added;
    if (m_nCapacity == 0)
        capacity = added < kFirstCapacity ? kFirstCapacity : std::uint64_t{added} + 1;
    if (capacity > std::numeric_limits<std::uint32_t>::max())
        AfxThrowMemoryException();
    assert(capacity > m_nLength + added);
    char* grown = q32::fnNewArray<char>(static_cast<std::size_t>(capacity));
    if (m_nLength > 0)
        std::memcpy(grown, m_pBuffer, m_nLength);
    std::memset(grown + m_nLength, 0, static_cast<std::size_t>(capacity) - m_nLength);
    delete[] m_pBuffer;
    m_pBuffer = grown;
    m_nCapacity = static_cast<std::uint32_t>(capacity);
}

void CqDumpBin::fnHexDump(const char* pszAddressFmt, unsigned char* pData, int nBytes,
                          int nPerLine) {
    int column = 0;
    for (int i = 0; i < nBytes; ++i) {
        if (column == 0 && pszAddressFmt) {
            CString address;
            address.Format(pszAddressFmt, static_cast<void*>(pData + i));
            *this << address;
        }
        char digits[4];
        std::snprintf(digits, sizeof(digits), " %02X", pData[i]);
        fnOutputString(digits);
        if (++column == nPerLine) {
            *this << "\n";
            column = 0;
        }
    }
    if (column != 0)
        *this << "\n";
}

void CqDumpBin::fnSetFloatFormat(const char* pszFormat) {
    if (!pszFormat || !*pszFormat || std::strlen(pszFormat) >= sizeof(m_szFloatFmt))
        return;
    std::memmove(m_szFloatFmt, pszFormat, std::strlen(pszFormat) + 1);
}

void CqDumpBin::fnFlush(const char* pszFile) const {
    if (!m_pBuffer)
        return;
    CFile file(pszFile, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive);
    file.Write(m_pBuffer, m_nLength);
    file.Close();
}

void CqDumpBin::fnClear() {
    if (m_pBuffer)
        std::memset(m_pBuffer, 0, m_nCapacity);
    m_nLength = 0;
    CqDumpWnd::fnShowText(this, "", 0, 0);
}

bool q32CreateDumpWnd() {
    return CqDumpWnd::fnCreateOnly();
}

void q32DestroyDumpWnd() {
    CqDumpWnd::fnDestroyOnly();
}
