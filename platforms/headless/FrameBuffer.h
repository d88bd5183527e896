#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "platforms/headless/CqHeadlessMode.h"
#include "platforms/headless/CqHeadlessPalette.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace q32::headless {

/// The drawing target of the screen and its device contexts.
struct FrameBuffer {
    CqHeadlessMode m_Mode;                         ///< size, depth and resolution
    std::vector<std::uint32_t> m_Pixels;           ///< raw pixels, rows from the top
    CqHeadlessHardware m_Hardware;                 ///< used at 8 bits only
    std::shared_ptr<CqHeadlessMisuses> m_pMisuses; ///< receives those of device contexts

    /// Index of a pixel, which must lie inside.
    std::size_t fnIndex(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_Mode.m_nWidth) +
               static_cast<std::size_t>(x);
    }
};

} // namespace q32::headless
