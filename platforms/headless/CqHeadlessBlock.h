#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>

/// Zeroed memory, in whole pages. A large block takes no physical memory until it is touched.
class Q32_API CqHeadlessBlock {
public:
    static constexpr std::size_t kPage = 4096;
    /// Maximum size: half a tebibyte, or half the address space where addresses have 32 bits.
    static constexpr std::size_t kMax = SIZE_MAX >> (sizeof(std::size_t) > 4 ? 25 : 1);

    CqHeadlessBlock() = default;
    ~CqHeadlessBlock();
    CqHeadlessBlock(CqHeadlessBlock&& other) noexcept;
    CqHeadlessBlock& operator=(CqHeadlessBlock&& other) noexcept;

    std::uint8_t* fnGetData() const { return m_pData; }
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
