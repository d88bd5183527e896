#include "q32Base/operations/CqConvMask.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"

#include <algorithm>
#include <cassert>

CqConvMask::CqConvMask(const CqImage& image, unsigned int lines, int row)
    : m_pImage(&image), m_nLines(std::max(lines, 1u)), m_nRow(row),
      m_pRing(q32::fnGuardMemory([this] { return std::make_unique<CqImageLine[]>(m_nLines); })) {}

void CqConvMask::fnFetch(std::uint32_t slot, std::int64_t row) {
    assert(slot < m_nLines);
    const std::int64_t last = std::int64_t{m_pImage->Height} - 1;
    const auto inside = static_cast<std::uint32_t>(std::clamp<std::int64_t>(row, 0, last));
    m_pImage->TileMap->fnAccessLine(inside, &m_pRing[slot], true);
}

void CqConvMask::fnGotoNextLine() {
    const std::uint32_t head = fnSlot(1);
    const std::int32_t centre = q32::fnWrapAdd(m_nRow, 1);
    const std::int64_t top = std::int64_t{centre} - (m_nLines >> 1);
    for (std::uint32_t i = m_bFirst ? 0 : m_nLines - 1; i < m_nLines; ++i)
        fnFetch((head + i) % m_nLines, top + i);
    m_pImage->TileMap->fnRequirePixels();
    m_nHead = head; // only now, so that a failed move can be repeated
    m_nRow = centre;
    m_bFirst = false;
}

unsigned char* CqConvMask::fnGetLine(int i) {
    return m_pRing[fnSlot(static_cast<std::uint32_t>(i))].LineBuffer;
}

void CqConvMask::fnGetLine(unsigned char*& a, unsigned char*& b, unsigned char*& c) {
    fnGetLines({&a, &b, &c, nullptr, nullptr}, 3);
}

void CqConvMask::fnGetLine(unsigned char*& a, unsigned char*& b, unsigned char*& c,
                           unsigned char*& d, unsigned char*& e) {
    fnGetLines({&a, &b, &c, &d, &e}, 5);
}

/// Any further rows all go to the last pointer.
void CqConvMask::fnGetLines(unsigned char** const (&out)[5], std::uint32_t count) {
    assert(count > 0 && count <= std::size(out));
    for (std::uint32_t i = 0; i < m_nLines; ++i)
        *out[std::min(i, count - 1)] = m_pRing[fnSlot(i)].LineBuffer;
}

int CqConvMask::fnGetLineCoord(int i) const {
    const auto row =
        static_cast<std::uint32_t>(i) + static_cast<std::uint32_t>(m_nRow) - (m_nLines >> 1);
    return static_cast<int>(std::min(row, m_pImage->Height - 1));
}
