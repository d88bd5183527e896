#pragma once

#include <cstdint>

namespace q32 {

/// Eight bits a channel.
struct Rgb8 {
    std::uint8_t m_nRed, m_nGreen, m_nBlue;
};

} // namespace q32
