#pragma once

#include "q32Base/platform/Export.h"

#include <cstdint>
#include <string>

/// An open scratch file; a service chooses the numbers.
using CqFileHandle = std::uint32_t;
/// A mapping of such a file; a service chooses the numbers.
using CqMappingHandle = std::uint32_t;

/// The handle of no file: all bits set.
inline constexpr CqFileHandle kNoFile = 0xFFFFFFFFu;
/// The handle of no mapping.
inline constexpr CqMappingHandle kNoMapping = 0;

/// Advice about bytes of a view. It affects speed, never contents.
enum CQ_VIEW_ADVICE {
    VIEW_READ_NEXT,  ///< they will be read soon, and perhaps written too
    VIEW_WRITE_NEXT, ///< all of them will be written soon; their present content is meaningless
    VIEW_DONE,       ///< neither follows in this pass, except for a rare access at an edge
};

/// Temporary files mapped into memory, for buffers that don't fit into RAM. A file is set up by
/// `fnCreateName`, `fnOpen`, `fnSetSize`, `fnReopen`, `fnCreateMapping`, `fnMapView`, and torn down
/// by `fnUnmapView`, `fnCloseMapping`, `fnClose`, `fnDelete`. These are called on
/// every thread of the host that makes or frees images, one call at a time; the others at any time.
/// Functions that acquire something may throw std::bad_alloc; those that release it never throw,
/// and work even when memory is exhausted. Every other failure is reported by the result.
class Q32_API CqScratchService {
public:
    virtual ~CqScratchService() = default;

    /// Creates an empty file with a new name in `directory` (which ends in a backslash); the name
    /// begins with `prefix` and ends in ".tmp". Stores the full name in `name`. Only its owner may
    /// read the file.
    virtual bool fnCreateName(const char* directory, const char* prefix, std::string& name) = 0;

    /// Opens that file for reading and writing, exclusively for the life of the handle. Never
    /// follows a link. `kNoFile` on failure; the file then stays.
    virtual CqFileHandle fnOpen(const char* name) = 0;

    /// Makes the file exactly `size` bytes long, with its blocks allocated on disk, so that a later
    /// write through a mapping can't fail for lack of disk space. On failure nothing stays
    /// allocated.
    virtual bool fnSetSize(CqFileHandle file, std::uint32_t size) = 0;

    /// Closes the file and opens it again by name. `kNoFile` if it is gone or is now another file;
    /// the old handle is closed in any case.
    virtual CqFileHandle fnReopen(CqFileHandle file, const char* name) noexcept = 0;

    /// Closes the file, which stays. Its mapping and views must be gone.
    virtual void fnClose(CqFileHandle file) noexcept = 0;

    /// Creates a mapping of the first `size` bytes of the file, for reading and writing.
    /// `kNoMapping` on failure, including a shorter file and a size of 0.
    virtual CqMappingHandle fnCreateMapping(CqFileHandle file, std::uint32_t size) = 0;

    /// Closes the mapping. Its views must be gone.
    virtual void fnCloseMapping(CqMappingHandle mapping) noexcept = 0;

    /// Maps the entire mapping into memory, page-aligned and in whole pages: the bytes behind it up
    /// to the end of its last page, of 4096 bytes at least, can be accessed too, and aren't kept.
    /// Null on failure.
    virtual void* fnMapView(CqMappingHandle mapping, std::uint32_t size) = 0;

    /// Unmaps a view, given the address and size of `fnMapView`. What was written is in the file.
    virtual void fnUnmapView(void* address, std::uint32_t size) noexcept = 0;

    /// Gives advice on the `size` bytes at `address`, which lie in one view but needn't be aligned.
    /// A service may ignore it, and doesn't report whether it did.
    virtual void fnAdvise(CQ_VIEW_ADVICE /*advice*/, void* /*address*/,
                          std::uint32_t /*size*/) noexcept {}

    /// How often bytes of the view at `address` were lost since it was mapped: the disk could not
    /// supply them any more, and zeros took their place. A service that ends the process in that
    /// case counts none.
    virtual std::uint32_t fnCountLosses(const void* /*address*/) noexcept { return 0; }

    /// Deletes a file by its name; a name without a directory is relative to the current one.
    virtual bool fnDelete(const char* name) noexcept = 0;
};
