#pragma once

#include "q32Base/platform/Export.h"

#include <cstdint>
#include <string>

using CqFileHandle = std::uint32_t;
using CqMappingHandle = std::uint32_t;

/// The handle of no file: all bits set.
inline constexpr CqFileHandle kNoFile = 0xFFFFFFFFu;
/// The handle of no mapping.
inline constexpr CqMappingHandle kNoMapping = 0;

/// What a walk knows about bytes of a view. Advice changes speed and never bytes.
enum CQ_VIEW_ADVICE {
    VIEW_READ_NEXT,  ///< they will be read soon, and perhaps written too
    VIEW_WRITE_NEXT, ///< all of them will be written soon; what they hold now is of no meaning
    VIEW_DONE,       ///< neither is to come in this walk, but for a rare look back at an edge
};

/// Temporary files that are mapped into memory: the home of buffers that do not fit into RAM.
/// One file goes through `fnCreateName`, `fnOpen`, `fnSetSize`, `fnReopen`, `fnCreateMapping`,
/// `fnMapView`, and back through `fnUnmapView`, `fnCloseMapping`, `fnClose`, `fnDelete`.
/// Called on the host's thread. What takes something may throw std::bad_alloc; what gives it back
/// never throws, and does its work also when memory has run out. All else is told by the result.
class Q32_API CqScratchService {
public:
    virtual ~CqScratchService() = default;

    /// Creates an empty file of a new name in `directory` (which ends in a backslash), named after
    /// `prefix` and with the ending ".tmp". Its full name goes to `name`. Only its owner may read
    /// it.
    virtual bool fnCreateName(const char* directory, const char* prefix, std::string& name) = 0;

    /// Opens that file for reading and writing, unshared: nobody else opens it as long as the
    /// handle lives. Never follows a link. `kNoFile` on failure; the file then stays.
    virtual CqFileHandle fnOpen(const char* name) = 0;

    /// Makes the file exactly `size` bytes long, with its blocks reserved on the disk, so that a
    /// later write into a mapping can't find the disk full. On failure nothing stays reserved.
    virtual bool fnSetSize(CqFileHandle file, std::uint32_t size) = 0;

    /// Closes the file and opens the same file anew, as it stands on the disk. `kNoFile` when it is
    /// gone or is another one; the old handle is closed in any case.
    virtual CqFileHandle fnReopen(CqFileHandle file, const char* name) noexcept = 0;

    virtual void fnClose(CqFileHandle file) noexcept = 0;

    /// A mapping of the first `size` bytes of the file, for reading and writing. `kNoMapping` on
    /// failure, which includes a file shorter than that, and a size of 0.
    virtual CqMappingHandle fnCreateMapping(CqFileHandle file, std::uint32_t size) = 0;

    virtual void fnCloseMapping(CqMappingHandle mapping) noexcept = 0;

    /// The whole mapping as memory, page-aligned. Null on failure.
    virtual void* fnMapView(CqMappingHandle mapping, std::uint32_t size) = 0;

    virtual void fnUnmapView(void* address, std::uint32_t size) noexcept = 0;

    /// Advice on `size` bytes from `address` on, which lie in one view; any number, at any place. A
    /// service may ignore it, and nobody is told whether it could be followed.
    virtual void fnAdvise(CQ_VIEW_ADVICE /*advice*/, void* /*address*/,
                          std::uint32_t /*size*/) noexcept {}

    /// Deletes a file by its name; a bare name is looked for in the current directory.
    virtual bool fnDelete(const char* name) noexcept = 0;
};
