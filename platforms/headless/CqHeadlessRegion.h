#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "platforms/software/CqSoftwareRegion.h"

#include <memory>
#include <utility>

/// A region whose combinations are counted and fail on demand.
class CqHeadlessRegion final : public CqSoftwareRegion {
public:
    /// The pixels of a rectangle.
    /// @param combine  counts the combinations; a failed one leaves the region as it is
    CqHeadlessRegion(const RECT& rect, std::shared_ptr<CqHeadlessCalls> combine)
        : CqSoftwareRegion(rect), m_pCombine(std::move(combine)) {}

    bool fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) override {
        return m_pCombine->fnPass() && CqSoftwareRegion::fnCombine(a, b, mode);
    }

private:
    std::shared_ptr<CqHeadlessCalls> m_pCombine;
};
