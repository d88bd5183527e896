#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Why a file could not be used: the numbers of CFileException::m_cause.
enum CQ_FILE_CAUSE : int {
    FILE_CAUSE_NONE = 0,
    FILE_CAUSE_GENERIC = 1,
    FILE_CAUSE_NOT_FOUND = 2,
    FILE_CAUSE_BAD_PATH = 3,
    FILE_CAUSE_TOO_MANY_OPEN = 4,
    FILE_CAUSE_ACCESS_DENIED = 5,
    FILE_CAUSE_INVALID = 6,
    FILE_CAUSE_REMOVE_CURRENT_DIR = 7,
    FILE_CAUSE_DIRECTORY_FULL = 8,
    FILE_CAUSE_BAD_SEEK = 9,
    FILE_CAUSE_HARD_IO = 10,
    FILE_CAUSE_SHARING_VIOLATION = 11,
    FILE_CAUSE_LOCK_VIOLATION = 12,
    FILE_CAUSE_DISK_FULL = 13,
    FILE_CAUSE_END_OF_FILE = 14
};

/// How a stream is opened.
struct CqFileMode {
    bool m_bRead = true;
    bool m_bWrite = false;
    bool m_bCreate = false;    ///< a file that stands there is emptied
    bool m_bExclusive = false; ///< nobody else may have it open
    bool m_bNew = false;       ///< with `m_bCreate`: refused if anything stands there
};

/// An open file: bytes at a position. Closing is the destructor's work, unless `fnClose` was called
/// to learn whether all was written. May throw std::bad_alloc, but for the destructor.
class Q32_API CqFileStream {
public:
    virtual ~CqFileStream() = default;

    /// Reads up to `count` bytes into `done`; fewer only at the end. The cause on failure.
    virtual CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) = 0;
    /// Writes all `count` bytes, or gives the cause.
    virtual CQ_FILE_CAUSE fnWrite(const void* buffer, std::size_t count) = 0;
    /// Moves to `position` bytes from the start; beyond the end is allowed.
    virtual CQ_FILE_CAUSE fnSeek(std::uint64_t position) = 0;
    virtual CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) = 0;
    /// Closes; later calls fail. The cause if something could not be written.
    virtual CQ_FILE_CAUSE fnClose() = 0;
};

struct CqDiskSpace {
    std::uint64_t m_nAvailable = 0; ///< bytes that the caller may use
    std::uint64_t m_nTotal = 0;
};

struct CqDiskClusters {
    std::uint32_t m_nSectorsPerCluster = 0;
    std::uint32_t m_nBytesPerSector = 0;
    std::uint32_t m_nFreeClusters = 0;
    std::uint32_t m_nTotalClusters = 0;
};

struct CqFileInfo {
    std::uint64_t m_nSize = 0;
    std::int64_t m_nLastWrite = 0; ///< seconds since 1970-01-01 00:00 UTC
};

/// Directories, disks and ordinary files. The separator is the backslash; a service may take others
/// too. Called on the host's thread. May throw std::bad_alloc; all else is told by the result.
class Q32_API CqFileService {
public:
    virtual ~CqFileService() = default;

    /// The system's directory for temporary files, with a backslash at its end.
    virtual bool fnGetTempDirectory(std::string& directory) = 0;
    /// The directory of machine-wide settings, with or without a backslash at its end.
    virtual bool fnGetConfigDirectory(std::string& directory) = 0;
    /// Whether a file or directory stands there.
    virtual bool fnExists(const char* path) = 0;
    /// Makes one directory; its parent must stand.
    virtual bool fnCreateDirectory(const char* path) = 0;
    /// The bare names of the files that match `mask`, which is a directory and a pattern with `*`
    /// and `?`.
    virtual std::vector<std::string> fnFind(const char* mask) = 0;
    virtual bool fnDelete(const char* name) = 0;
    /// Size and time of a file. With `exclusive` set, a file that somebody else has open is
    /// refused.
    virtual bool fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) = 0;

    /// Whether disks are to be asked by `fnGetSpace`; otherwise by `fnGetClusters`.
    virtual bool fnHasWideSpaceQuery() = 0;
    /// Space of the volume that holds `path`. Where the root of a path is its directory (the root
    /// of
    /// "/srv/scratch\" is all of it), one that does not stand yet has the space of the volume that
    /// it would be made on; elsewhere it fails. An empty path fails.
    virtual bool fnGetSpace(const char* path, CqDiskSpace& space) = 0;
    virtual bool fnGetClusters(const char* path, CqDiskClusters& clusters) = 0;

    /// Opens a file. Null with the cause on failure. When memory runs out, no new file stays.
    virtual std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                                 CQ_FILE_CAUSE& cause) = 0;

    /// Gives a closed file the name `to`, at once and as a whole, with its bytes safe on the disk;
    /// a file that stands there goes, and leaves its place and rights. Both names lie in one
    /// directory. The cause on failure, which it is too that the file there is open or may not be
    /// written; both are then as they were.
    virtual CQ_FILE_CAUSE fnReplace(const char* from, const char* to) = 0;

    /// Reads a whole small text file. False when it is missing or unreadable.
    virtual bool fnReadText(const char* name, std::string& text) = 0;
    /// Rewrites a whole small text file: reads it (empty when missing), hands it to `edit`, and if
    /// that returns true puts the changed text in its place at once and as a whole. No other
    /// process that rewrites it the same way comes in between. True when done, or when `edit`
    /// wanted no change.
    virtual bool fnUpdateText(const char* name,
                              const std::function<bool(std::string& text)>& edit) = 0;
};
