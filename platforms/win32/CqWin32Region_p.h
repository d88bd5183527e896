#pragma once

#include "platforms/win32/GdiObject_p.h"
#include "q32Base/platform/CqScreenService.h"

#include <memory>
#include <vector>

/// A region of the system. Windows gives none for coordinates beyond 27 bits.
class CqWin32Region final : public CqRegionObject {
public:
    /// Null if the system gives none.
    static std::unique_ptr<CqWin32Region> fnMake(const RECT& rect);

    explicit CqWin32Region(q32::win32::GdiObject<HRGN> region) : m_Region(std::move(region)) {}

    bool fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) override;
    /// Throws std::bad_alloc also if the system's memory is exhausted.
    std::vector<RECT> fnGetRects() const override;

private:
    q32::win32::GdiObject<HRGN> m_Region;
};
