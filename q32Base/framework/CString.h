#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h" // LoadString may be a macro before it

#include <atomic>
#include <cstdarg>

/// The block of a CString: this header, followed by `nAllocLength` characters and a NUL.
struct CStringData {
    std::atomic<long> nRefs;
    int nDataLength;  ///< characters of text; may include NULs
    int nAllocLength; ///< capacity in characters, without the final NUL

    char* data() { return reinterpret_cast<char*>(this + 1); }
};

/// Text in the system's code page. Copies share one reference-counted block; a shared block is
/// copied before a change. An operation that can't allocate a block raises the memory exception and
/// leaves the string unchanged. A null text counts as empty.
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
    /// Capacity of the present block in characters; 0 for the empty string.
    int GetAllocLength() const { return fnGetData()->nAllocLength; }
    bool IsEmpty() const { return GetLength() == 0; }
    /// Empties the string and releases its block.
    void Empty() noexcept;

    char GetAt(int index) const { return m_pchData[index]; }
    char operator[](int index) const { return m_pchData[index]; }
    void SetAt(int index, char c);
    operator const char*() const { return m_pchData; }

    /// Compares unsigned bytes up to the first NUL; returns a value below, equal to or above 0.
    int Compare(const char* text) const;
    /// The same, with ASCII letters compared as lower case.
    int CompareNoCase(const char* text) const;

    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    CString Left(int count) const;
    CString Right(int count) const;
    /// Index of the first such character or text from `start` on; -1 if there is none.
    int Find(char c, int start = 0) const;
    int Find(const char* text, int start = 0) const;
    int ReverseFind(char c) const;
    void MakeUpper();
    void MakeLower();
    void TrimLeft();
    void TrimRight();

    /// Replaces the text with a formatted one; the arguments must not be this string's own text.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void FormatV(const char* format, va_list arguments);
    /// Loads an entry of the library's string table, or of the host's if that has none. False if
    /// neither has it; the string is then empty.
    bool LoadString(unsigned int id);

    /// An unshared buffer for at least `minLength` characters, to write into; call `ReleaseBuffer`
    /// afterwards.
    char* GetBuffer(int minLength);
    /// Sets the length after writing to the buffer; -1 means up to the first NUL.
    void ReleaseBuffer(int newLength = -1);
    /// The same as `GetBuffer`, and sets the length to `newLength`.
    char* GetBufferSetLength(int newLength);
    /// Shrinks the block to the length.
    void FreeExtra();

protected:
    char* m_pchData; ///< first character; the header precedes it

    CStringData* fnGetData() const { return reinterpret_cast<CStringData*>(m_pchData) - 1; }
    /// Releases the block and refers to the shared empty one.
    void fnRelease() noexcept;
    /// Refers to a new, zeroed block for `length` characters, with that length; for a length of 0,
    /// to the shared empty block. The old block isn't released.
    void fnAllocBuffer(int length);
    /// Replaces the text; the block is reused if it is unshared and large enough.
    void fnAssign(const char* text, int length);

private:
    Q32_LOCAL void fnAppend(const char* text, int length);
    Q32_LOCAL void fnMakeSingle();
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
