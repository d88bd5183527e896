/// @file
/// The volume of a sink, whatever channels it has, as a left and a right value of 16 bits.
#pragma once

#include <cstdint>
#include <pulse/channelmap.h>
#include <pulse/volume.h>

namespace q32::pulse {

/// What a mixer shows of a sink.
struct Levels {
    std::uint32_t m_nLeft = 0;  ///< 0 to 65535
    std::uint32_t m_nRight = 0; ///< the same as the left one where `m_bMono`
    bool m_bMono = false;       ///< the sink has no sides
    bool m_bMute = false;
};

/// 65536, the server's full volume, is 65535 and back; each 16-bit value survives the way to the
/// server and back. What a user has raised above full volume counts as full.
pa_volume_t fnToServer(std::uint32_t value);
std::uint32_t fnFromServer(pa_volume_t volume);

/// A side is as loud as its loudest channel.
Levels fnReadLevels(const pa_cvolume& volume, const pa_channel_map& map, bool mute);

/// Sets the loudest channel of each side; the others of the side keep their ratio to it, and those
/// in the middle theirs to the louder side, but those stop at full volume, or where they are above
/// it. Without sides, all follow the left value.
pa_cvolume fnSetLevels(const pa_cvolume& volume, const pa_channel_map& map, std::uint32_t left,
                       std::uint32_t right);

} // namespace q32::pulse
