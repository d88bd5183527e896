#include "platforms/headless/CqHeadlessBlock.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

// calloc, not a container or aligned_alloc: the system provides large blocks zeroed without
// touching them. NOLINTBEGIN(cppcoreguidelines-no-malloc)

CqHeadlessBlock::~CqHeadlessBlock() {
    std::free(m_pRaw);
}

CqHeadlessBlock::CqHeadlessBlock(CqHeadlessBlock&& other) noexcept {
    *this = std::move(other);
}

CqHeadlessBlock& CqHeadlessBlock::operator=(CqHeadlessBlock&& other) noexcept {
    std::swap(m_pRaw, other.m_pRaw);
    std::swap(m_pData, other.m_pData);
    std::swap(m_nSize, other.m_nSize);
    std::swap(m_nCapacity, other.m_nCapacity);
    return *this;
}

bool CqHeadlessBlock::fnResize(std::size_t size, bool spare) {
    if (size > m_nCapacity) {
        std::size_t capacity = spare ? std::max(size, m_nCapacity + m_nCapacity / 2) : size;
        if (capacity > kMax)
            return false;
        capacity = (capacity + kPage - 1) / kPage * kPage;
        void* raw = std::calloc(1, capacity + kPage - 1);
        if (!raw)
            return false;
        const auto place = reinterpret_cast<std::uintptr_t>(raw);
        auto* data = static_cast<std::uint8_t*>(raw) + ((kPage - place % kPage) % kPage);
        if (m_nSize != 0)
            std::memcpy(data, m_pData, m_nSize);
        std::free(std::exchange(m_pRaw, raw));
        m_pData = data;
        m_nCapacity = capacity;
    } else if (size > m_nSize) {
        // The bytes were in use before a reduction, or as those behind a view.
        std::memset(m_pData + m_nSize, 0, size - m_nSize);
    }
    m_nSize = size;
    return true;
}

// NOLINTEND(cppcoreguidelines-no-malloc)
