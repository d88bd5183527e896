#pragma once

#include "q32Base/framework/CFile.h"
#include "q32Base/framework/CObject.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/platform/Export.h"

#include <bit>
#include <cstddef>
#include <cstdint>

/// A buffered stream of values to or from a file, little-endian. `>>` past the end raises
/// CArchiveException with `endOfFile`; reading while storing raises `writeOnly`, and writing while
/// loading `readOnly`. The file's own exceptions pass through.
class Q32_API CArchive {
public:
    /// The direction of an archive.
    enum Mode {
        store = 0, ///< values are written to the file
        load = 1   ///< values are read from it
    };

    /// The file isn't owned and must stay open as long as the archive.
    CArchive(CFile* file, Mode mode);
    /// Closes and ignores failures; call `Close` first to learn of them.
    ~CArchive();
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    /// The direction, for classes that serialise both ways in one function.
    bool IsLoading() const { return m_eMode == load; }
    bool IsStoring() const { return m_eMode == store; }

    /// Reads up to `count` bytes, fewer only at the end of the file; returns their number.
    std::size_t Read(void* buffer, std::size_t count);
    /// Writes all `count` bytes, into the buffer first: a failure of the file may be raised later.
    void Write(const void* buffer, std::size_t count);
    /// Writes the buffered bytes to the file.
    void Flush();
    /// Flushes and detaches from the file, which stays open.
    void Close();

    /// Write 1, 2, 4 or 8 bytes; a double as its IEEE bits.
    CArchive& operator<<(std::uint8_t value) { return fnPut(value, 1); }
    CArchive& operator<<(std::uint16_t value) { return fnPut(value, 2); }
    CArchive& operator<<(std::uint32_t value) { return fnPut(value, 4); }
    CArchive& operator<<(std::int32_t value) { return fnPut(static_cast<std::uint32_t>(value), 4); }
    CArchive& operator<<(double value) { return fnPut(std::bit_cast<std::uint64_t>(value), 8); }

    /// Read what `<<` has written. If the file ends before, `value` is unchanged.
    CArchive& operator>>(std::uint8_t& value);
    CArchive& operator>>(std::uint16_t& value);
    CArchive& operator>>(std::uint32_t& value);
    CArchive& operator>>(std::int32_t& value);
    CArchive& operator>>(double& value);

private:
    CArchive& fnPut(std::uint64_t value, std::size_t bytes);
    Q32_LOCAL std::uint64_t fnGet(std::size_t bytes);

    CFile* m_pFile;
    Mode m_eMode;
    std::size_t m_nUsed = 0;  ///< storing: bytes not yet written; loading: bytes in the buffer
    std::size_t m_nTaken = 0; ///< loading: bytes already read from the buffer
    unsigned char m_Buffer[4096];
};
