#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>

/// An output stream for diagnostics: text and numbers are kept in a growing buffer, and shown at
/// once in the dump window, if there is one. All streams show in that window; the one that writes
/// shows its whole text in place of another's. On the thread of the user interface. Every output
/// raises the memory exception when there is no room; the text that is there stays.
class Q32_API CqDumpBin {
public:
    CqDumpBin() = default;
    virtual ~CqDumpBin();
    CqDumpBin(const CqDumpBin&) = delete;
    CqDumpBin& operator=(const CqDumpBin&) = delete;

    /// Each line feed gets a carriage return in front of it, also where there is one already. Null
    /// and empty texts change nothing.
    CqDumpBin& operator<<(const char* pszText);
    // Numbers are decimal, but for `unsigned int`, which is hexadecimal (0xFF), deliberately.
    CqDumpBin& operator<<(unsigned char n);
    CqDumpBin& operator<<(unsigned short n);
    CqDumpBin& operator<<(int n);
    CqDumpBin& operator<<(unsigned int n);
    CqDumpBin& operator<<(long n);
    CqDumpBin& operator<<(unsigned long n);
    /// By the format of `fnSetFloatFormat`.
    CqDumpBin& operator<<(float f);
    CqDumpBin& operator<<(double d);

    /// Writes bytes as lines of two hexadecimal digits each, with a blank ahead of every byte.
    /// @param pszAddressFmt  printf format for the start of a line, with the address of its first
    ///                       byte (of a pointer's width) as the one argument; null: none
    /// @param nBytes         below 1, nothing is written
    /// @param nPerLine       bytes in a line; below 1, all in one
    void fnHexDump(const char* pszAddressFmt, unsigned char* pData, int nBytes, int nPerLine);

    /// Sets the printf format of `float` and `double`, which takes one double, for all streams: at
    /// first "%.02f". Null, empty and more than 15 bytes change nothing.
    void fnSetFloatFormat(const char* pszFormat);

    /// Writes the text into a file, which is made anew; it stays in the buffer. Nothing happens
    /// before the first output; after `fnClear`, the file is empty. Raises CFileException, also
    /// while the library is not attached.
    void fnFlush(const char* pszFile) const;

    /// Empties the text, in the window too. The buffer stays.
    void fnClear();

protected:
    static char m_szFloatFmt[16];

    /// Appends a text as it stands. Null and empty texts do nothing.
    void fnOutputString(const char* pszText);

    char* m_pBuffer = nullptr;     ///< owned; none before the first output. Zero behind the text.
    std::uint32_t m_nCapacity = 0; ///< bytes of the buffer, always more than the text's
    std::uint32_t m_nLength = 0;   ///< bytes of text

private:
    void fnGrow(std::size_t added);
};

extern "C" {

/// Makes and shows the dump window. It takes the place, the on-top state and the folder that the
/// settings file has for it.
/// @return true if it stands, also when it did before; false, after message -1, when memory or a
///         part of the window could not be had; false when there is no such window here, and while
///         the library is not attached
Q32_API bool q32CreateDumpWnd();

/// Destroys the dump window, if there is one; its place goes into the settings file. So does a
/// window that the user closes, or that stands when the library is detached.
Q32_API void q32DestroyDumpWnd();
}
