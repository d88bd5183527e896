#include "q32Base/framework/CString.h"

#include "q32Base/framework/Exceptions.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

namespace {

/// The block that all empty strings share: never counted, freed or written.
struct EmptyBlock {
    CStringData m_Head{{-1}, 0, 0};
    char m_cEnd = 0;
};
constinit EmptyBlock theEmptyBlock;
static_assert(offsetof(EmptyBlock, m_cEnd) == sizeof(CStringData));

int fnLength(const char* text) {
    if (!text)
        return 0;
    const std::size_t length = std::strlen(text);
    if (length > static_cast<std::size_t>(INT_MAX) / 2)
        AfxThrowMemoryException();
    return static_cast<int>(length);
}

char fnLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char fnUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool fnIsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void fnReleaseBlock(CStringData* data) {
    assert(data == &theEmptyBlock.m_Head
               ? data->nRefs == -1 && theEmptyBlock.m_cEnd == 0
               : data->nRefs > 0 && data->nDataLength <= data->nAllocLength);
    if (data != &theEmptyBlock.m_Head && data->nRefs.fetch_sub(1) <= 1) {
        data->~CStringData();
        ::operator delete(data);
    }
}

} // namespace

CString::CString() noexcept : m_pchData(&theEmptyBlock.m_cEnd) {}

CString::CString(const CString& other) noexcept : m_pchData(other.m_pchData) {
    if (fnGetData() != &theEmptyBlock.m_Head)
        fnGetData()->nRefs.fetch_add(1);
}

CString::CString(const char* text) : CString(text, fnLength(text)) {}

CString::CString(const char* text, int length) : CString() {
    fnAssign(text, text ? length : 0);
}

CString::CString(char c, int repeat) : CString() {
    if (repeat > 0) {
        fnAllocBuffer(repeat);
        std::memset(m_pchData, c, static_cast<std::size_t>(repeat));
    }
}

CString::~CString() {
    fnReleaseBlock(fnGetData());
}

const CString& CString::operator=(const CString& other) noexcept {
    CString copy(other);
    std::swap(m_pchData, copy.m_pchData);
    return *this;
}

const CString& CString::operator=(const char* text) {
    fnAssign(text, fnLength(text));
    return *this;
}

const CString& CString::operator=(char c) {
    fnAssign(&c, 1);
    return *this;
}

const CString& CString::operator+=(const CString& other) {
    const CString held(other); // `other` may be this string
    fnAppend(held.m_pchData, held.GetLength());
    return *this;
}

const CString& CString::operator+=(const char* text) {
    fnAppend(text, fnLength(text));
    return *this;
}

const CString& CString::operator+=(char c) {
    fnAppend(&c, 1);
    return *this;
}

void CString::Empty() noexcept {
    fnRelease();
}

void CString::SetAt(int index, char c) {
    assert(index >= 0 && index < GetLength());
    fnMakeSingle();
    m_pchData[index] = c;
}

int CString::Compare(const char* text) const {
    return std::strcmp(m_pchData, text ? text : "");
}

int CString::CompareNoCase(const char* text) const {
    const char* a = m_pchData;
    const char* b = text ? text : "";
    while (*a && fnLower(*a) == fnLower(*b)) {
        ++a;
        ++b;
    }
    return static_cast<unsigned char>(fnLower(*a)) - static_cast<unsigned char>(fnLower(*b));
}

CString CString::Mid(int first) const {
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
    first = std::clamp(first, 0, GetLength());
    count = std::clamp(count, 0, GetLength() - first);
    if (count == GetLength())
        return *this;
    return CString(m_pchData + first, count);
}

CString CString::Left(int count) const {
    return Mid(0, count);
}

CString CString::Right(int count) const {
    count = std::clamp(count, 0, GetLength());
    return Mid(GetLength() - count, count);
}

int CString::Find(char c, int start) const {
    for (int i = std::max(start, 0); i < GetLength(); ++i) {
        if (m_pchData[i] == c)
            return i;
    }
    return -1;
}

int CString::Find(const char* text, int start) const {
    if (start < 0 || start > GetLength())
        return -1;
    const char* found = std::strstr(m_pchData + start, text ? text : "");
    return found ? static_cast<int>(found - m_pchData) : -1;
}

int CString::ReverseFind(char c) const {
    for (int i = GetLength() - 1; i >= 0; --i) {
        if (m_pchData[i] == c)
            return i;
    }
    return -1;
}

void CString::MakeUpper() {
    fnMakeSingle();
    std::transform(m_pchData, m_pchData + GetLength(), m_pchData, fnUpper);
}

void CString::MakeLower() {
    fnMakeSingle();
    std::transform(m_pchData, m_pchData + GetLength(), m_pchData, fnLower);
}

void CString::TrimLeft() {
    int first = 0;
    while (first < GetLength() && fnIsBlank(m_pchData[first]))
        ++first;
    *this = Mid(first);
}

void CString::TrimRight() {
    int end = GetLength();
    while (end > 0 && fnIsBlank(m_pchData[end - 1]))
        --end;
    *this = Left(end);
}

void CString::Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void CString::FormatV(const char* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0)
        AfxThrowMemoryException();
    CString result;
    result.fnAllocBuffer(length);
    if (length > 0)
        std::vsnprintf(result.m_pchData, static_cast<std::size_t>(length) + 1, format, arguments);
    std::swap(m_pchData, result.m_pchData);
}

char* CString::GetBuffer(int minLength) {
    CStringData* old = fnGetData();
    assert(old->nDataLength >= 0 && old->nDataLength <= old->nAllocLength);
    if (old->nRefs > 1 || minLength > old->nAllocLength || old == &theEmptyBlock.m_Head) {
        const int length = old->nDataLength;
        CString grown;
        grown.fnAllocBuffer(std::max({minLength, length, 1}));
        std::memcpy(grown.m_pchData, m_pchData, static_cast<std::size_t>(length) + 1);
        grown.fnGetData()->nDataLength = length;
        std::swap(m_pchData, grown.m_pchData);
    }
    return m_pchData;
}

void CString::ReleaseBuffer(int newLength) {
    fnMakeSingle();
    if (newLength == -1)
        newLength = fnLength(m_pchData);
    if (fnGetData() == &theEmptyBlock.m_Head)
        return;
    assert(newLength >= 0 && newLength <= GetAllocLength());
    fnGetData()->nDataLength = newLength;
    m_pchData[newLength] = 0;
}

char* CString::GetBufferSetLength(int newLength) {
    GetBuffer(newLength);
    ReleaseBuffer(newLength);
    return m_pchData;
}

void CString::FreeExtra() {
    if (fnGetData()->nDataLength == fnGetData()->nAllocLength)
        return;
    CString exact(m_pchData, GetLength());
    std::swap(m_pchData, exact.m_pchData);
}

void CString::fnRelease() noexcept {
    fnReleaseBlock(fnGetData());
    m_pchData = &theEmptyBlock.m_cEnd;
}

void CString::fnAllocBuffer(int length) {
    assert(fnGetData() == &theEmptyBlock.m_Head); // or a block would be lost
    if (length == 0) {
        m_pchData = &theEmptyBlock.m_cEnd;
        return;
    }
    if (length < 0)
        AfxThrowMemoryException();
    const std::size_t bytes = sizeof(CStringData) + static_cast<std::size_t>(length) + 1;
    void* block = ::operator new(bytes, std::nothrow);
    if (!block)
        AfxThrowMemoryException();
    // Zeroed entirely: spare space can become text when segments are concatenated.
    std::memset(block, 0, bytes);
    auto* data = new (block) CStringData{{1}, length, length};
    m_pchData = data->data();
}

void CString::fnAssign(const char* text, int length) {
    CStringData* data = fnGetData();
    if (data->nRefs == 1 && length <= data->nAllocLength) {
        if (length > 0)
            std::memmove(m_pchData, text, static_cast<std::size_t>(length)); // may overlap
        data->nDataLength = length;
        m_pchData[length] = 0;
        return;
    }
    CString fresh;
    fresh.fnAllocBuffer(length);
    if (length > 0)
        std::memcpy(fresh.m_pchData, text, static_cast<std::size_t>(length));
    std::swap(m_pchData, fresh.m_pchData);
}

void CString::fnAppend(const char* text, int length) {
    assert(length >= 0);
    if (length == 0)
        return;
    const int old = GetLength();
    if (length > INT_MAX / 2 - old)
        AfxThrowMemoryException();
    if (fnGetData()->nRefs == 1 && old + length <= GetAllocLength()) {
        std::memmove(m_pchData + old, text, static_cast<std::size_t>(length));
        fnGetData()->nDataLength = old + length;
        m_pchData[old + length] = 0;
        return;
    }
    CString joined;
    joined.fnAllocBuffer(old + length);
    std::memcpy(joined.m_pchData, m_pchData, static_cast<std::size_t>(old));
    std::memcpy(joined.m_pchData + old, text, static_cast<std::size_t>(length));
    std::swap(m_pchData, joined.m_pchData);
}

void CString::fnMakeSingle() {
    if (fnGetData()->nRefs <= 1)
        return;
    CString single;
    single.fnAllocBuffer(GetAllocLength());
    std::memcpy(single.m_pchData, m_pchData, static_cast<std::size_t>(GetLength()) + 1);
    single.fnGetData()->nDataLength = GetLength();
    std::swap(m_pchData, single.m_pchData);
}

CString operator+(const CString& a, const CString& b) {
    CString sum(a);
    sum += b;
    return sum;
}

CString operator+(const CString& a, const char* b) {
    CString sum(a);
    sum += b;
    return sum;
}

CString operator+(const char* a, const CString& b) {
    CString sum(a);
    sum += b;
    return sum;
}

CString operator+(const CString& a, char b) {
    CString sum(a);
    sum += b;
    return sum;
}
