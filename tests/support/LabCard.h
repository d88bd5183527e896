#pragma once

#include <cstdint>

/// A sound card that is a file: what the control plug-in of the tests shows as a card, and what
/// tests write to turn its knobs from outside.
struct LabCard {
    std::int32_t m_nMaster[2] = {31, 31}; ///< steps, 0 to 31
    std::int32_t m_nMasterOn[2] = {1, 1};
    std::int32_t m_nBass = 7;   ///< steps, -10 to 14
    std::int32_t m_nTreble = 7; ///< the same
    std::int32_t m_nToneOn = 0; ///< whether these two are heard
    std::int32_t m_nGone = 0;   ///< the card has been pulled out
};
