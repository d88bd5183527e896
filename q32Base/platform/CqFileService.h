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
    FILE_CAUSE_NONE = 0,               ///< no failure
    FILE_CAUSE_GENERIC = 1,            ///< any other reason
    FILE_CAUSE_NOT_FOUND = 2,          ///< there is no such file
    FILE_CAUSE_BAD_PATH = 3,           ///< there is no such directory, or the name is invalid
    FILE_CAUSE_TOO_MANY_OPEN = 4,      ///< the process, or the system, has too many files open
    FILE_CAUSE_ACCESS_DENIED = 5,      ///< the user may not do that
    FILE_CAUSE_INVALID = 6,            ///< the file isn't open, or not for that
    FILE_CAUSE_REMOVE_CURRENT_DIR = 7, ///< the directory is the current one
    FILE_CAUSE_DIRECTORY_FULL = 8,     ///< the directory takes no more names
    FILE_CAUSE_BAD_SEEK = 9,           ///< there is no such position
    FILE_CAUSE_HARD_IO = 10,           ///< the device failed
    FILE_CAUSE_SHARING_VIOLATION = 11, ///< it is open elsewhere
    FILE_CAUSE_LOCK_VIOLATION = 12,    ///< a part of it is locked elsewhere
    FILE_CAUSE_DISK_FULL = 13,         ///< the disk, or the user's share of it, is full
    FILE_CAUSE_END_OF_FILE = 14        ///< the file ends too early
};

/// How a stream is opened.
struct CqFileMode {
    bool m_bRead = true;       ///< for reading
    bool m_bWrite = false;     ///< for writing
    bool m_bCreate = false;    ///< an existing file is truncated
    bool m_bExclusive = false; ///< nobody else may have it open
    bool m_bNew = false;       ///< with `m_bCreate`: fails if the name exists
};

/// An open file with a current position. The destructor closes it; call `fnClose` first to learn
/// whether everything was written. All but the destructor may throw std::bad_alloc.
class Q32_API CqFileStream {
public:
    virtual ~CqFileStream() = default;

    /// Reads up to `count` bytes into `buffer`, fewer only at the end of the file, and stores their
    /// number in `done`. Returns the cause on failure.
    virtual CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) = 0;
    /// Writes all `count` bytes, or returns the cause of the failure.
    virtual CQ_FILE_CAUSE fnWrite(const void* buffer, std::size_t count) = 0;
    /// Moves to `position` bytes from the start; beyond the end is allowed.
    virtual CQ_FILE_CAUSE fnSeek(std::uint64_t position) = 0;
    /// Stores the length of the file in bytes. Returns the cause on failure.
    virtual CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) = 0;
    /// Closes the file; later calls fail. Returns the cause if something could not be written.
    virtual CQ_FILE_CAUSE fnClose() = 0;
};

/// A new file that is to replace another one as a whole, or to take a free name. Until it does, its
/// bytes lie in a file of another name in the same directory, which only the user's own programs
/// can read. The destructor deletes that file unless it has taken its place.
class Q32_API CqFileReplacement {
public:
    virtual ~CqFileReplacement() = default;

    /// The new file, open for reading and writing, which belongs to this object.
    virtual CqFileStream& fnGetStream() = 0;
    /// Closes the file and gives it its name atomically, with its bytes flushed to disk and the
    /// permissions of the file that stood there, or those of any new file. Returns the cause on
    /// failure, which includes an existing file that is open or not writable; that file is then
    /// unchanged. To be called once. May throw std::bad_alloc, with the same result.
    virtual CQ_FILE_CAUSE fnCommit() = 0;
};

/// Space of a volume.
struct CqDiskSpace {
    std::uint64_t m_nAvailable = 0; ///< bytes that the caller may use
    std::uint64_t m_nTotal = 0;     ///< bytes of the volume, free or not
};

/// Space of a volume, as the product of three counts.
struct CqDiskClusters {
    std::uint32_t m_nSectorsPerCluster = 0; ///< the smallest space that a file takes
    std::uint32_t m_nBytesPerSector = 0;    ///< usually 512
    std::uint32_t m_nFreeClusters = 0;      ///< those that the caller may use
    std::uint32_t m_nTotalClusters = 0;     ///< free or not
};

/// What `CqFileService::fnGetInfo` reports.
struct CqFileInfo {
    std::uint64_t m_nSize = 0;     ///< bytes
    std::int64_t m_nLastWrite = 0; ///< seconds since 1970-01-01 00:00 UTC
};

/// Directories, disks and ordinary files. The separator is the backslash; a service may accept
/// others too. Called on every thread of the host that makes images or reads or writes files. May
/// throw std::bad_alloc; every other failure is reported by the result.
class Q32_API CqFileService {
public:
    virtual ~CqFileService() = default;

    /// The system's directory for temporary files, ending in a backslash.
    virtual bool fnGetTempDirectory(std::string& directory) = 0;
    /// The directory of machine-wide settings, with or without a backslash at its end.
    virtual bool fnGetConfigDirectory(std::string& directory) = 0;
    /// Whether a file or directory of that name exists.
    virtual bool fnExists(const char* path) = 0;
    /// Creates one directory; its parent must exist.
    virtual bool fnCreateDirectory(const char* path) = 0;
    /// The names, without directories, of the files that match `mask`, a directory followed by a
    /// pattern with `*` and `?`.
    virtual std::vector<std::string> fnFind(const char* mask) = 0;
    /// Deletes a file. False if it is missing or can't be deleted.
    virtual bool fnDelete(const char* name) = 0;
    /// Size and last write time of a file. With `exclusive` set, fails if anyone else has it open.
    virtual bool fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) = 0;

    /// Whether disk space is queried by `fnGetSpace`; otherwise by `fnGetClusters`.
    virtual bool fnHasWideSpaceQuery() = 0;
    /// Space of the volume that holds `path`. Where the root of a path is its entire directory (as
    /// for "/srv/scratch\"), a directory that doesn't exist yet gives the space of the volume that
    /// it would be created on; elsewhere it fails. An empty path fails.
    virtual bool fnGetSpace(const char* path, CqDiskSpace& space) = 0;
    /// The same as cluster counts.
    virtual bool fnGetClusters(const char* path, CqDiskClusters& clusters) = 0;

    /// Opens a file. Null, with the cause, on failure. If memory is exhausted, no new file is left
    /// behind.
    virtual std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                                 CQ_FILE_CAUSE& cause) = 0;

    /// Begins to replace the file `name`, which need not exist. Null, with the cause, on failure.
    /// Files that killed programs left behind in its directory may be deleted.
    virtual std::unique_ptr<CqFileReplacement> fnOpenReplacement(const char* name,
                                                                 CQ_FILE_CAUSE& cause) = 0;

    /// Reads a whole small text file. False when it is missing or unreadable.
    virtual bool fnReadText(const char* name, std::string& text) = 0;
    /// Rewrites a small text file: reads it (empty if missing), passes it to `edit` and, if that
    /// returns true, replaces the file atomically. Other processes that rewrite it the same way are
    /// excluded meanwhile. True when done, and when `edit` returned false.
    virtual bool fnUpdateText(const char* name,
                              const std::function<bool(std::string& text)>& edit) = 0;
};
