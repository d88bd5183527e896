#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/platform/CqScratchService.h"

#include <atomic>
#include <cstdint>

namespace q32 {

/// What the bytes of a new block are.
enum class BlockContents {
    ZERO,
    ANY, ///< for a caller that writes each byte: memory used before isn't cleared
};

/// A large block of pixels or samples, in RAM or in a mapped temporary file, with the five values
/// that identify it. Owns the block and releases it; moving leaves the source empty. Destroy every
/// block before the library stops.
class PixelBlock {
public:
    /// Empty: no address, no bytes.
    PixelBlock() = default;
    /// Allocates `size` bytes where the memory policy decides. Raises the memory exception when
    /// neither RAM nor any scratch disk has space.
    /// @param slack  bytes after those, at most a page, that can be accessed too. They count
    ///               nowhere, and their contents may be lost.
    explicit PixelBlock(std::uint32_t size, std::uint32_t slack = 0,
                        BlockContents contents = BlockContents::ZERO);
    /// Takes ownership of a block of `AllocPixelBuffer`, with the values that describe it.
    PixelBlock(unsigned char* bytes, std::uint32_t size, CqFileHandle file, CqMappingHandle mapping,
               const CString& fileName) noexcept;
    PixelBlock(PixelBlock&& other) noexcept;
    PixelBlock& operator=(PixelBlock&& other) noexcept;
    ~PixelBlock();

    /// The block, page-aligned; null for an empty one.
    unsigned char* fnGetBytes() const { return m_pBytes; }
    std::uint32_t fnGetSize() const { return m_nSize; }
    /// `kNoFile` for a block in RAM.
    CqFileHandle fnGetFile() const { return m_File; }
    /// `kNoMapping` for a block in RAM.
    CqMappingHandle fnGetMapping() const { return m_Mapping; }
    /// Full name of the temporary file; empty for a block in RAM.
    const CString& fnGetFileName() const { return m_strFileName; }
    /// Whether the block lies in a file on a scratch disk.
    bool fnIsOnDisk() const { return m_File != kNoFile; }
    /// How often bytes of a block on disk were lost and became zeros, because the disk could not
    /// supply them any more. Counted where the scratch service survives that, else 0.
    std::uint32_t fnCountLosses() const noexcept;
    /// Whether bytes were lost since this was last asked. So a loss is reported once, and what is
    /// left of the block can still be read.
    bool fnHasNewLosses() const noexcept;
    /// Raises the memory exception for such a loss, at the end of an operation.
    void fnRequireBytes() const;

private:
    void fnSwap(PixelBlock& other) noexcept;

    unsigned char* m_pBytes = nullptr; ///< owned
    std::uint32_t m_nSize = 0;
    std::uint32_t m_nSlack = 0;
    CqFileHandle m_File = kNoFile;
    CqMappingHandle m_Mapping = kNoMapping;
    CString m_strFileName;
    /// Those reported. Several threads that read one block share this.
    mutable std::atomic<std::uint32_t> m_nLosses = 0;
};

} // namespace q32
