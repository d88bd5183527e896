/// @file
/// Conversion of a sink's volume, with any channels, to a left and a right value of 16 bits.
#pragma once

#include <cstdint>
#include <pulse/channelmap.h>
#include <pulse/volume.h>

namespace q32::pulse {

/// The values that a mixer shows of a sink.
struct Levels {
    std::uint32_t m_nLeft = 0;  ///< 0 to 65535
    std::uint32_t m_nRight = 0; ///< equal to the left one if `m_bMono`
    bool m_bMono = false;       ///< the sink has no sides
    bool m_bMute = false;
};

/// Convert between 65535 and 65536, the server's full volume; each 16-bit value is preserved by a
/// round trip. A higher volume becomes 65535.
pa_volume_t fnToServer(std::uint32_t value);
std::uint32_t fnFromServer(pa_volume_t volume);

/// Reads the levels. The level of a side is that of its loudest channel.
Levels fnReadLevels(const pa_cvolume& volume, const pa_channel_map& map, bool mute);

/// Sets the loudest channel of each side; the others of the side keep their ratio to it, and the
/// middle ones theirs to the louder side, but these are limited to full volume, or to their current
/// value if above it. Without sides, all channels follow the left value.
pa_cvolume fnSetLevels(const pa_cvolume& volume, const pa_channel_map& map, std::uint32_t left,
                       std::uint32_t right);

} // namespace q32::pulse
