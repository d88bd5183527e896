#pragma once

#include <cstdint>

/// A sound card that is a file: the tests' control plug-in presents it as a card, and tests write
/// it to change controls from outside.
struct LabCard {
    std::int32_t m_nMaster[2] = {31, 31}; ///< steps, 0 to 31
    std::int32_t m_nMasterOn[2] = {1, 1};
    std::int32_t m_nBass = 7;   ///< steps, -10 to 14
    std::int32_t m_nTreble = 7; ///< the same
    std::int32_t m_nToneOn = 0; ///< whether bass and treble take effect
    std::int32_t m_nGone = 0;   ///< the card has been pulled out
};
