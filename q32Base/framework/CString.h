#pragma once

#include "q32Base/platform/Export.h"

#include <atomic>
#include <cstdarg>

/// The block behind a CString: this head, then `nAllocLength` characters and an end mark.
struct CStringData {
    std::atomic<long> nRefs;
    int nDataLength;  ///< characters of text; may count inner zeros
    int nAllocLength; ///< characters that fit, without the end mark

    char* data() { return reinterpret_cast<char*>(this + 1); }
};

/// Text in the system's code page. Copies share one block by reference count; a change makes the
/// block single first. Every operation that needs a block raises the memory exception when there is
/// none to be had, and then leaves the string as it was. A null text counts as the empty one.
class Q32_API CString {
public:
    CString() noexcept;
    CString(const CString& other) noexcept;
    CString(const char* text);
    CString(const char* text, int length);
    CString(char c, int repeat = 1);
    ~CString();

    const CString& operator=(const CString& other) noexcept;
    const CString& operator=(const char* text);
    const CString& operator=(char c);
    const CString& operator+=(const CString& other);
    const CString& operator+=(const char* text);
    const CString& operator+=(char c);

    int GetLength() const { return fnGetData()->nDataLength; }
    /// Characters that the present block holds without a new one; 0 for the empty string.
    int GetAllocLength() const { return fnGetData()->nAllocLength; }
    bool IsEmpty() const { return GetLength() == 0; }
    /// Empties the string and lets go of its block.
    void Empty() noexcept;

    char GetAt(int index) const { return m_pchData[index]; }
    char operator[](int index) const { return m_pchData[index]; }
    void SetAt(int index, char c);
    operator const char*() const { return m_pchData; }

    /// By bytes, as unsigned values, up to the end mark: below, at or above 0.
    int Compare(const char* text) const;
    /// The same, with ASCII letters compared as lower case.
    int CompareNoCase(const char* text) const;

    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    CString Left(int count) const;
    CString Right(int count) const;
    /// First place of a character or text from `start` on; -1 when there is none.
    int Find(char c, int start = 0) const;
    int Find(const char* text, int start = 0) const;
    int ReverseFind(char c) const;
    void MakeUpper();
    void MakeLower();
    void TrimLeft();
    void TrimRight();

    /// Replaces the text by a formatted one; the arguments must not be this string's own text.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void FormatV(const char* format, va_list arguments);
    /// Loads an entry of the library's string table, or of the host's where that has none. False
    /// when neither has it; the string is then empty.
    bool LoadString(unsigned int id);

    /// A single block with room for at least `minLength` characters, to write into; ended by
    /// `ReleaseBuffer`.
    char* GetBuffer(int minLength);
    /// Sets the length, or takes that up to the end mark for -1.
    void ReleaseBuffer(int newLength = -1);
    /// The same as `GetBuffer`, with exactly that length.
    char* GetBufferSetLength(int newLength);
    /// Moves to a block with no spare room.
    void FreeExtra();

protected:
    char* m_pchData; ///< first character; the head lies ahead of it

    CStringData* fnGetData() const { return reinterpret_cast<CStringData*>(m_pchData) - 1; }
    /// Lets go of the block and stands on the empty one.
    void fnRelease() noexcept;
    /// Takes a block with room for `length` characters, and with the length set to it. The old
    /// block is not looked at. For a length of 0 that is the shared empty block.
    void fnAllocBuffer(int length);
    /// Replaces the text; the block is reused if it is single and large enough.
    void fnAssign(const char* text, int length);

private:
    void fnAppend(const char* text, int length);
    void fnMakeSingle();
};

inline bool operator==(const CString& a, const CString& b) {
    return a.Compare(b) == 0;
}
inline bool operator==(const CString& a, const char* b) {
    return a.Compare(b) == 0;
}
inline bool operator<(const CString& a, const CString& b) {
    return a.Compare(b) < 0;
}
Q32_API CString operator+(const CString& a, const CString& b);
Q32_API CString operator+(const CString& a, const char* b);
Q32_API CString operator+(const char* a, const CString& b);
Q32_API CString operator+(const CString& a, char b);
