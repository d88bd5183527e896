#pragma once

#include "q32Base/framework/CFileException.h"
#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CString.h"
#include "q32Base/platform/CqFileService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// A file opened through the platform in force. Failures raise CFileException, and exhausted memory
/// CMemoryException.
class Q32_API CFile : public CObject {
public:
    /// How a file is opened: one mode, one way of sharing, and modeCreate or not, combined by OR.
    enum OpenFlags : unsigned int {
        modeRead = 0x0000,       ///< only for reading
        modeWrite = 0x0001,      ///< only for writing
        modeReadWrite = 0x0002,  ///< for both
        shareExclusive = 0x0010, ///< nobody else may have it open
        shareDenyWrite = 0x0020, ///< as shareDenyNone
        shareDenyNone = 0x0040,  ///< others may use it
        modeCreate = 0x1000      ///< creates the file; an existing one is truncated
    };

    /// No file: only `Open` and `Close` may be called, all else fails with FILE_CAUSE_INVALID.
    CFile() = default;
    /// Opens a file with OpenFlags; raises CFileException on failure.
    CFile(const char* fileName, unsigned int flags);
    /// Closes the file and ignores failures; call `Close` first to learn of them.
    ~CFile() override;

    /// Opens a file with OpenFlags. False on failure, with its cause in `cause` unless that is
    /// null: FILE_CAUSE_GENERIC while the library is not attached.
    bool Open(const char* fileName, unsigned int flags, CQ_FILE_CAUSE* cause = nullptr);

    /// Reads up to `count` bytes, fewer only at the end; returns the bytes read.
    virtual std::size_t Read(void* buffer, std::size_t count);
    /// Writes all `count` bytes at the present position.
    virtual void Write(const void* buffer, std::size_t count);
    /// Moves to `position` bytes from the start; beyond the end is allowed.
    virtual void Seek(std::uint64_t position);
    /// Length of the file in bytes.
    virtual std::uint64_t GetLength();
    /// Closes the file; raises CFileException if something could not be written, with the file
    /// closed all the same. Does nothing without a file.
    virtual void Close();

    /// The name as passed to `Open`, also after `Close`; empty before.
    const CString& GetFilePath() const { return m_strFileName; }

private:
    Q32_LOCAL void fnCheck(CQ_FILE_CAUSE cause) const;

    std::unique_ptr<CqFileStream> m_pStream;
    CString m_strFileName;
};

/// A file in memory, which grows as it is written.
class Q32_API CMemFile : public CFile {
public:
    /// Empty.
    CMemFile() = default;
    /// Starts with a copy of `count` bytes, positioned at its start.
    CMemFile(const void* bytes, std::size_t count);
    ~CMemFile() override;

    std::size_t Read(void* buffer, std::size_t count) override;
    void Write(const void* buffer, std::size_t count) override;
    void Seek(std::uint64_t position) override;
    std::uint64_t GetLength() override { return m_nLength; }
    void Close() override {}

    /// The content, owned by the file and valid until it grows; null before the first write.
    const unsigned char* GetData() const { return m_pBytes; }

private:
    Q32_LOCAL void fnGrow(std::size_t needed);

    unsigned char* m_pBytes = nullptr;
    std::size_t m_nLength = 0;
    std::size_t m_nCapacity = 0;
    std::size_t m_nPosition = 0;
};
