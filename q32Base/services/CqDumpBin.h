#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>

/// An output stream for diagnostics: text and numbers are collected in a growing buffer, and shown
/// at once in the dump window, if there is one. All streams share that window; a stream that writes
/// replaces another's text with its own. Use on the thread of the user interface. If the buffer
/// can't grow, an output raises the memory exception and the text is unchanged.
class Q32_API CqDumpBin {
public:
    /// An empty stream, which allocates at its first output.
    CqDumpBin() = default;
    virtual ~CqDumpBin();
    CqDumpBin(const CqDumpBin&) = delete;
    CqDumpBin& operator=(const CqDumpBin&) = delete;

    /// Appends a text, with a carriage return inserted before each line feed, even if there is one
    /// already. Null and empty texts are ignored.
    CqDumpBin& operator<<(const char* pszText);
    /// Append a number, in decimal, except `unsigned int`, which is deliberately hexadecimal
    /// (0xFF): cast to `unsigned long` for decimal.
    CqDumpBin& operator<<(unsigned char n);
    CqDumpBin& operator<<(unsigned short n);
    CqDumpBin& operator<<(int n);
    CqDumpBin& operator<<(unsigned int n);
    CqDumpBin& operator<<(long n);
    CqDumpBin& operator<<(unsigned long n);
    /// In the format set by `fnSetFloatFormat`, with a decimal point in every locale.
    CqDumpBin& operator<<(float f);
    CqDumpBin& operator<<(double d);

    /// Writes bytes in lines, each byte as a space and two hexadecimal digits.
    /// @param pszAddressFmt  printf format for the start of a line, whose one argument is the
    ///                       address of its first byte, as a pointer; null: none
    /// @param nBytes         below 1, nothing is written
    /// @param nPerLine       bytes in a line; below 1, all in one
    void fnHexDump(const char* pszAddressFmt, unsigned char* pData, int nBytes, int nPerLine);

    /// Sets the printf format of `float` and `double`, which takes one double, for all streams; the
    /// default is "%.02f". Null, empty and longer than 15 bytes are ignored.
    void fnSetFloatFormat(const char* pszFormat);

    /// Writes the text to a file, which is created or truncated; the text stays in the buffer. No
    /// effect before the first output; after `fnClear`, the file is empty. Raises CFileException,
    /// also while the library is not attached.
    void fnFlush(const char* pszFile) const;

    /// Clears the text, in the window too. The buffer keeps its capacity.
    void fnClear();

protected:
    static char m_szFloatFmt[16]; ///< printf format of all streams for floating-point numbers

    /// Appends a text verbatim. Null and empty texts are ignored.
    void fnOutputString(const char* pszText);

    char* m_pBuffer = nullptr;     ///< owned; null before the first output. Zeros follow the text.
    std::uint32_t m_nCapacity = 0; ///< bytes of the buffer; exceeds `m_nLength` once allocated
    std::uint32_t m_nLength = 0;   ///< bytes of text

private:
    Q32_LOCAL void fnGrow(std::size_t added);
};

extern "C" {

/// Creates and shows the dump window, with the position, on-top state and folder from the settings
/// file.
/// @return true if the window exists, also if it did before; false, after message -1, if memory is
///         exhausted or a part of the window can't be created; false if the back end has no dump
///         window, and while the library is not attached
Q32_API bool q32CreateDumpWnd();

/// Destroys the dump window, if there is one, and saves its layout in the settings file. That
/// happens too when the user closes it and when the library is detached.
Q32_API void q32DestroyDumpWnd();
}
