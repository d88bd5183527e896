#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h" // LoadString may be a macro before it

#include <atomic>
#include <cstdarg>

/// The block of a CString: this header, followed by `nAllocLength` characters and a NUL.
struct CStringData {
    std::atomic<long> nRefs; ///< strings that share the block; -1 for that of empty strings
    int nDataLength;         ///< characters of text; may include NULs
    int nAllocLength;        ///< capacity in characters, without the final NUL

    /// The first character.
    char* data() { return reinterpret_cast<char*>(this + 1); }
};

/// Text in the system's code page. Copies share one reference-counted block; a shared block is
/// copied before a change. An operation that can't allocate a block raises the memory exception and
/// leaves the string unchanged. A null text counts as empty.
class Q32_API CString {
public:
    /// Empty; allocates nothing.
    CString() noexcept;
    /// Shares the block of the other string.
    CString(const CString& other) noexcept;
    /// Copies the text up to its NUL.
    CString(const char* text);
    /// Copies `length` characters, which may include NULs.
    CString(const char* text, int length);
    /// `repeat` times one character; empty for 0 or less.
    CString(char c, int repeat = 1);
    ~CString();

    /// Shares the block of the other string.
    const CString& operator=(const CString& other) noexcept;
    /// Copy the text. It may be a part of this string.
    const CString& operator=(const char* text);
    const CString& operator=(char c);
    /// Append. The text may be this string, or a part of it.
    const CString& operator+=(const CString& other);
    const CString& operator+=(const char* text);
    const CString& operator+=(char c);

    /// Number of characters, each a byte; NULs within the text count.
    int GetLength() const { return fnGetData()->nDataLength; }
    /// Capacity of the present block in characters; 0 for the empty string.
    int GetAllocLength() const { return fnGetData()->nAllocLength; }
    /// Whether the length is 0.
    bool IsEmpty() const { return GetLength() == 0; }
    /// Empties the string and releases its block.
    void Empty() noexcept;

    /// The character at `index`, from 0 to the length, where the final NUL is. Not checked.
    char GetAt(int index) const { return m_pchData[index]; }
    char operator[](int index) const { return m_pchData[index]; }
    /// Replaces the character at `index`, which must be below the length.
    void SetAt(int index, char c);
    /// The text with a NUL at its end, valid until the string changes or is destroyed.
    operator const char*() const { return m_pchData; }

    /// Compares unsigned bytes up to the first NUL; returns a value below, equal to or above 0.
    int Compare(const char* text) const;
    /// The same, with ASCII letters compared as lower case.
    int CompareNoCase(const char* text) const;

    /// Part of the text: from `first` on, to its end or for `count` characters. What lies outside
    /// of the text is left out.
    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    /// The first or last `count` characters, all of them if there are fewer.
    CString Left(int count) const;
    CString Right(int count) const;
    /// Index of the first such character or text from `start` on; -1 if there is none.
    int Find(char c, int start = 0) const;
    int Find(const char* text, int start = 0) const;
    /// Index of the last such character; -1 if there is none.
    int ReverseFind(char c) const;
    /// Convert ASCII letters; all other bytes stay.
    void MakeUpper();
    void MakeLower();
    /// Remove spaces and the control characters 9 to 13 from one end.
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

    /// The header of the block.
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

/// Compare as `CString::Compare` does.
inline bool operator==(const CString& a, const CString& b) {
    return a.Compare(b) == 0;
}
inline bool operator==(const CString& a, const char* b) {
    return a.Compare(b) == 0;
}
inline bool operator<(const CString& a, const CString& b) {
    return a.Compare(b) < 0;
}

/// Both texts in a new string. Raises the memory exception.
Q32_API CString operator+(const CString& a, const CString& b);
Q32_API CString operator+(const CString& a, const char* b);
Q32_API CString operator+(const char* a, const CString& b);
Q32_API CString operator+(const CString& a, char b);
