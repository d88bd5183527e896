#pragma once

#include "q32Base/framework/CList.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Sync.h"
#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstdint>
#include <optional>

/// Size of a path buffer in bytes, the terminating zero included.
inline constexpr int kMaxPathBytes = 260;

/// What the buffers on one scratch disk occupy at present.
struct CqDiskUsage {
    std::uint64_t m_nBytes = 0;
    std::uint32_t m_nFiles = 0;
};

/// Decides where large blocks of pixels or samples lie: in RAM up to a limit, otherwise in a mapped
/// temporary file on one of up to four scratch disks. One instance exists between the library's
/// start and stop. Buffers may be taken and freed in several threads; settings, limits and disks
/// belong to one thread, while no other one takes a buffer. Disk indices are 0 to 3 and aren't
/// checked.
class Q32_API CqVMPolicy {
public:
    static constexpr unsigned int kDisks = 4;

    /// Disk 0 is the system's temporary directory, enabled; the others are empty and disabled.
    CqVMPolicy();

    CString fnGetDisk(unsigned int index) const { return DiskPaths[index]; }
    bool fnIsDiskEnabled(unsigned int index) const { return DiskFlags[index]; }
    /// Bytes available to the caller at a disk's path; 0 when that can't be determined.
    void fnGetDiskFreeSpace(unsigned int index, ULARGE_INTEGER& space) const;
    /// Sets a disk's path, with a backslash added at its end. An empty path also disables the disk,
    /// but doesn't update `fnIsAnyDiskEnabled`. A path of more than 259 bytes is refused: the disk
    /// keeps its present one.
    void fnSetDisk(unsigned int index, const char* path);
    void fnEnableDisk(unsigned int index, bool enable);
    /// Whether any disk was enabled when a flag was last set or the settings were last read.
    bool fnIsAnyDiskEnabled() const { return AnyDiskEnabled; }

    /// Percentage of physical memory that buffers may take. It takes effect when the settings are
    /// next read.
    unsigned int fnGetMemUsage() const { return MemPercent; }
    void fnSetMemUsage(unsigned int percent) { MemPercent = percent; }
    /// Whether that percentage is applied when the settings are read.
    bool fnIsMemEnabled() const { return MemEnabled; }
    void fnEnableMemUsage(bool enable) { MemEnabled = enable; }

    /// Bytes of RAM that buffers may take, as 32 bits count them: a greater limit is all bits set.
    std::uint32_t fnGetRamLimit() const { return RamLimit; }
    /// Sets that limit and `fnGetRamBound` directly, until the settings are next read. It isn't
    /// stored.
    void fnSetRamLimit(std::uint64_t bytes);
    /// Bytes of RAM that buffers together never exceed, counted in 64 bits: the host's limit, else
    /// that of the memory service or the percentage in the settings, if that is applied, whichever
    /// is less. `kNoMemoryLimit`: none.
    std::uint64_t fnGetRamBound() const { return m_nRamBound; }
    /// Bytes of RAM that buffers occupy at present, modulo 4 GiB.
    std::uint32_t fnGetRamUsed() const;
    /// Bytes of RAM that buffers occupy at present.
    std::uint64_t fnGetRamBytes() const;
    /// Whether a block of `size` bytes more stays within `fnGetRamBound`.
    bool fnFitsRam(std::uint64_t size) const;

    // Freed blocks are held back by a memory service that can, and handed out again without page
    // faults. They count nowhere else; together with the buffers they stay within the RAM limit.
    // The service releases them once they are older than `kHeldMemoryAge`, when it is next called
    // or by a timer of the platform; the system may take their memory before that.

    /// The most bytes of RAM that may be held back: as set, else a quarter of the RAM limit.
    std::uint64_t fnGetHeldLimit() const;
    /// Sets that limit, until the library stops, and releases at once what exceeds it. 0: nothing
    /// is held back. It isn't stored.
    void fnSetHeldLimit(std::uint64_t bytes);
    /// Bytes of RAM that are held back at present. From any thread.
    std::uint64_t fnGetHeldBytes() const;
    /// Releases everything that is held back, as before a host falls idle. From any thread.
    void fnReleaseHeld();
    /// How many bytes may be held back next to the buffers and a new one of `size` bytes. For the
    /// allocator.
    std::uint64_t fnGetHeldRoom(std::uint64_t size = 0) const;

    /// What the buffers whose files lie in a disk's directory occupy at present.
    CqDiskUsage fnGetDiskUsage(unsigned int index) const;

    /// Reads (true) or writes (false) the section "VMPolicy" of the settings file. Reading computes
    /// the RAM limit again, in 32 bits that wrap before the division by 100, deliberately (call
    /// fnSetRamLimit afterwards to set another), and asks the memory service for the bound again.
    /// It never fails: a key that can't be read counts as missing, and a disk keeps its path and
    /// flag when memory runs out. False when a write fails.
    bool fnSerialize(bool read);

    /// Chooses where to put a block of `size` bytes. True with an empty `path` means RAM; otherwise
    /// `path` is a scratch directory, which is created if it is missing. False when there is no
    /// space, no memory, or the directory can't be created. Never throws.
    ///
    /// The sum of RAM in use and `size` is that of 32 bits, which wraps, deliberately. The
    /// allocator therefore asks `fnFitsRam` as well, and takes a block that doesn't fit to a
    /// scratch disk.
    bool fnSearchAvail(unsigned long size, bool allowRam, CString& path);
    /// Held by the allocator while it takes or frees a block, so that no two threads pass the limit
    /// together.
    CCriticalSection& fnGetLock() const { return m_Lock; }
    /// Keep the record of RAM in use; sizes in bytes. For the allocator.
    void fnConsumeRAM(unsigned long size);
    void fnReleaseRAM(unsigned long size);

    /// Deletes left-over temporary files, listed in all scratch directories, by their bare names,
    /// deliberately: only files of those names in the current directory are deleted. A host deletes
    /// others itself.
    void fnDeleteVMFiles();

    /// Keep the record that `fnGetDiskUsage` reports. For the allocator.
    void fnNoteScratchFile(const CString& name, std::uint32_t size);
    void fnForgetScratchFile(const CString& name);

private:
    /// One buffer that is mapped from a file.
    struct NotedFile {
        CString m_strName;
        std::uint32_t m_nSize;
    };

    Q32_LOCAL bool fnReadSettings();
    Q32_LOCAL void fnReadDisk(unsigned int index);
    Q32_LOCAL void fnTakeDisk(unsigned int index);
    Q32_LOCAL bool fnWriteSettings() const;
    Q32_LOCAL bool fnHasRoom(unsigned int index, std::uint32_t size) const;
    Q32_LOCAL std::uint64_t fnGetEffectiveLimit() const;
    Q32_LOCAL void fnTrimHeld() const;

    bool DiskFlags[kDisks];
    char DiskPaths[kDisks][kMaxPathBytes];
    bool AnyDiskEnabled;
    std::uint32_t MemPercent;
    bool MemEnabled;
    std::uint32_t RamLimit;
    std::uint32_t RamUsed;
    mutable CCriticalSection m_Lock;
    std::uint64_t m_nRamBytes = 0;
    std::uint64_t m_nRamBound;
    std::optional<std::uint64_t> m_nHeldLimit; ///< empty: a quarter of the RAM limit
    CList<NotedFile, const NotedFile&> m_ScratchFiles;
};

/// The one policy; null before the start, and where its construction failed.
extern "C" Q32_API CqVMPolicy* q32GetVMPolicy();
