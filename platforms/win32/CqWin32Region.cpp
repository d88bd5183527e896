#include "platforms/win32/CqWin32Region_p.h"

#include <cstddef>
#include <cstring>
#include <new>

using namespace q32::win32;

std::unique_ptr<CqWin32Region> CqWin32Region::fnMake(const RECT& rect) {
    // The system would swap the sides of an inverted rectangle.
    const bool isEmpty = rect.left >= rect.right || rect.top >= rect.bottom;
    const RECT own = isEmpty ? RECT{} : rect;
    GdiObject<HRGN> region(::CreateRectRgnIndirect(&own));
    return region ? std::make_unique<CqWin32Region>(std::move(region)) : nullptr;
}

bool CqWin32Region::fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) {
    const auto* first = dynamic_cast<const CqWin32Region*>(&a);
    const auto* second = dynamic_cast<const CqWin32Region*>(&b);
    if (!first || !second || mode < RGN_AND || mode > RGN_COPY)
        return false;
    return ::CombineRgn(m_Region.fnGet(), first->m_Region.fnGet(), second->m_Region.fnGet(),
                        mode) != ERROR;
}

std::vector<RECT> CqWin32Region::fnGetRects() const {
    const DWORD size = ::GetRegionData(m_Region.fnGet(), 0, nullptr);
    std::vector<std::byte> block(size);
    if (size < sizeof(RGNDATAHEADER) ||
        !::GetRegionData(m_Region.fnGet(), size, reinterpret_cast<RGNDATA*>(block.data())))
        throw std::bad_alloc();
    RGNDATAHEADER header;
    std::memcpy(&header, block.data(), sizeof header);
    std::vector<RECT> rects(header.nCount);
    std::memcpy(rects.data(), block.data() + header.dwSize, rects.size() * sizeof(RECT));
    return rects;
}
