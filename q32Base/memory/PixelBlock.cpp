#include "q32Base/memory/PixelBlock.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/memory/PixelBuffer_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <utility>

namespace q32 {

PixelBlock::PixelBlock(std::uint32_t size, std::uint32_t slack, BlockContents contents)
    : m_nSize(size), m_nSlack(slack) {
    m_pBytes = AllocPixelBuffer(size, m_File, m_Mapping, m_strFileName, slack,
                                contents == BlockContents::ZERO);
    assert(m_pBytes);
}

PixelBlock::PixelBlock(unsigned char* bytes, std::uint32_t size, CqFileHandle file,
                       CqMappingHandle mapping, const CString& fileName) noexcept
    : m_pBytes(bytes), m_nSize(size), m_File(file), m_Mapping(mapping), m_strFileName(fileName) {}

PixelBlock::PixelBlock(PixelBlock&& other) noexcept {
    fnSwap(other);
}

PixelBlock& PixelBlock::operator=(PixelBlock&& other) noexcept {
    PixelBlock taken(std::move(other)); // releases this block's former contents
    fnSwap(taken);
    return *this;
}

PixelBlock::~PixelBlock() {
    if (m_pBytes)
        FreePixelBuffer(m_pBytes, m_nSize, &m_File, &m_Mapping, &m_strFileName, m_nSlack);
}

std::uint32_t PixelBlock::fnCountLosses() const noexcept {
    return fnIsOnDisk() ? fnPlatform().m_pScratch->fnCountLosses(m_pBytes) : 0;
}

bool PixelBlock::fnHasNewLosses() const noexcept {
    const std::uint32_t losses = fnCountLosses();
    return losses != m_nLosses.load(std::memory_order_relaxed) &&
           losses != m_nLosses.exchange(losses, std::memory_order_relaxed);
}

void PixelBlock::fnRequireBytes() const {
    if (fnHasNewLosses())
        AfxThrowMemoryException();
}

void PixelBlock::fnSwap(PixelBlock& other) noexcept {
    std::swap(m_pBytes, other.m_pBytes);
    std::swap(m_nSize, other.m_nSize);
    std::swap(m_nSlack, other.m_nSlack);
    std::swap(m_File, other.m_File);
    std::swap(m_Mapping, other.m_Mapping);
    std::swap(m_strFileName, other.m_strFileName);
    m_nLosses = other.m_nLosses.exchange(m_nLosses);
}

} // namespace q32
