#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>

/// Zeroed memory, in whole pages. A large block takes no physical memory until it is touched.
class Q32_API CqHeadlessBlock {
public:
    static constexpr std::size_t kPage = 4096; ///< bytes of a page, and alignment of the data

    /// Maximum size: half a tebibyte, or half the address space where addresses have 32 bits.
    static constexpr std::size_t kMax = SIZE_MAX >> (sizeof(std::size_t) > 4 ? 25 : 1);

    /// Empty.
    CqHeadlessBlock() = default;
    ~CqHeadlessBlock();
    /// Take the memory over; the other block is empty afterwards, or has what this one had.
    CqHeadlessBlock(CqHeadlessBlock&& other) noexcept;
    CqHeadlessBlock& operator=(CqHeadlessBlock&& other) noexcept;

    /// The first byte, owned by the block and valid until the next `fnResize`; null if it is empty.
    std::uint8_t* fnGetData() const { return m_pData; }
    /// Bytes of the block, without spare ones.
    std::size_t fnGetSize() const { return m_nSize; }

    /// Resizes the block to `size` bytes: existing bytes are kept, new ones are zero, and the data
    /// may move. With `spare`, extra capacity is allocated for further growth. False, with nothing
    /// changed, when memory is exhausted.
    bool fnResize(std::size_t size, bool spare = false);

private:
    void* m_pRaw = nullptr;
    std::uint8_t* m_pData = nullptr;
    std::size_t m_nSize = 0;
    std::size_t m_nCapacity = 0;
};
