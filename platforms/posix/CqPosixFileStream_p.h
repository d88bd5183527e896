#pragma once

#include "platforms/common/PositionedStream_p.h"
#include "platforms/posix/FileAccess_p.h"

/// A regular file of the system. An open stream holds a lock on the file, shared or, for an
/// exclusive stream, exclusive; so an exclusive stream and any other stream of the same file
/// exclude each other. Programs that don't use such locks aren't noticed.
class CqPosixFileStream final
    : public q32::PositionedStream<q32::Descriptor, q32::posix::fnReadAt, q32::posix::fnWriteAt,
                                   q32::posix::fnLastCause> {
public:
    /// Opens a file by its native path. Null with the cause on failure. A mode that neither reads
    /// nor writes is invalid.
    static std::unique_ptr<CqFileStream> fnOpen(const char* path, const CqFileMode& mode,
                                                CQ_FILE_CAUSE& cause);

    using PositionedStream::PositionedStream;

    CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) override;
};
