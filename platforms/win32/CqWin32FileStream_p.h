#pragma once

#include "platforms/common/PositionedStream_p.h"
#include "platforms/win32/FileAccess_p.h"

/// A file of a disk. While a stream is open, nobody deletes or renames the file; while an exclusive
/// one is, nobody else opens it.
class CqWin32FileStream final
    : public q32::PositionedStream<q32::win32::Handle, q32::win32::fnReadAt, q32::win32::fnWriteAt,
                                   q32::win32::fnLastCause> {
public:
    /// Opens a file by its native path. Null with the cause on failure. A mode that neither reads
    /// nor writes is invalid.
    static std::unique_ptr<CqFileStream> fnOpen(const wchar_t* path, const CqFileMode& mode,
                                                CQ_FILE_CAUSE& cause);

    using PositionedStream::PositionedStream;

    CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) override;
};
