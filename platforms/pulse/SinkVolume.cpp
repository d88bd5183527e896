#include "platforms/pulse/SinkVolume_p.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace q32::pulse {

namespace {

constexpr std::uint32_t kFull = 0xFFFF;
static_assert(PA_VOLUME_NORM == kFull + 1);

constexpr pa_channel_position_t kLeft[] = {
    PA_CHANNEL_POSITION_FRONT_LEFT,     PA_CHANNEL_POSITION_FRONT_LEFT_OF_CENTER,
    PA_CHANNEL_POSITION_REAR_LEFT,      PA_CHANNEL_POSITION_SIDE_LEFT,
    PA_CHANNEL_POSITION_TOP_FRONT_LEFT, PA_CHANNEL_POSITION_TOP_REAR_LEFT};
constexpr pa_channel_position_t kRight[] = {
    PA_CHANNEL_POSITION_FRONT_RIGHT,     PA_CHANNEL_POSITION_FRONT_RIGHT_OF_CENTER,
    PA_CHANNEL_POSITION_REAR_RIGHT,      PA_CHANNEL_POSITION_SIDE_RIGHT,
    PA_CHANNEL_POSITION_TOP_FRONT_RIGHT, PA_CHANNEL_POSITION_TOP_REAR_RIGHT};

enum class Side { LEFT, RIGHT, MIDDLE };

Side fnGetSide(pa_channel_position_t position) {
    const auto isIn = [&](const auto& positions) {
        return std::find(std::begin(positions), std::end(positions), position) !=
               std::end(positions);
    };
    return isIn(kLeft) ? Side::LEFT : isIn(kRight) ? Side::RIGHT : Side::MIDDLE;
}

/// Channels that are set together.
struct Group {
    pa_volume_t m_nLoudest; ///< current volume of the loudest channel
    pa_volume_t m_nTarget;  ///< its new volume
};

pa_volume_t fnLoudest(const pa_cvolume& volume, const pa_channel_map& map, Side side) {
    pa_volume_t loudest = PA_VOLUME_MUTED;
    for (std::uint8_t i = 0; i < volume.channels; ++i)
        if (fnGetSide(map.map[i]) == side)
            loudest = std::max(loudest, volume.values[i]);
    return loudest;
}

pa_volume_t fnFollow(pa_volume_t volume, const Group& group) {
    if (group.m_nLoudest == PA_VOLUME_MUTED)
        return group.m_nTarget;
    // A middle channel may be louder than the sides, and would exceed every bound with them.
    return static_cast<pa_volume_t>(
        std::min<std::uint64_t>(std::uint64_t{volume} * group.m_nTarget / group.m_nLoudest,
                                std::max<std::uint64_t>(PA_VOLUME_NORM, volume)));
}

} // namespace

pa_volume_t fnToServer(std::uint32_t value) {
    return static_cast<pa_volume_t>((std::uint64_t{value} * PA_VOLUME_NORM + kFull / 2) / kFull);
}

std::uint32_t fnFromServer(pa_volume_t volume) {
    const std::uint64_t value =
        (std::uint64_t{volume} * kFull + PA_VOLUME_NORM / 2) / PA_VOLUME_NORM;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, kFull));
}

Levels fnReadLevels(const pa_cvolume& volume, const pa_channel_map& map, bool mute) {
    if (!pa_channel_map_can_balance(&map)) {
        const std::uint32_t value = fnFromServer(pa_cvolume_max(&volume));
        return {value, value, true, mute};
    }
    return {fnFromServer(fnLoudest(volume, map, Side::LEFT)),
            fnFromServer(fnLoudest(volume, map, Side::RIGHT)), false, mute};
}

pa_cvolume fnSetLevels(const pa_cvolume& volume, const pa_channel_map& map, std::uint32_t left,
                       std::uint32_t right) {
    Group groups[] = {{fnLoudest(volume, map, Side::LEFT), fnToServer(left)},
                      {fnLoudest(volume, map, Side::RIGHT), fnToServer(right)},
                      {pa_cvolume_max(&volume), fnToServer(left)}};
    auto& [leftGroup, rightGroup, middle] = groups;
    const bool sides = pa_channel_map_can_balance(&map) != 0;
    if (sides)
        middle = {std::max(leftGroup.m_nLoudest, rightGroup.m_nLoudest),
                  std::max(leftGroup.m_nTarget, rightGroup.m_nTarget)};
    pa_cvolume result = volume;
    for (std::uint8_t i = 0; i < volume.channels; ++i) {
        const Side side = sides ? fnGetSide(map.map[i]) : Side::MIDDLE;
        result.values[i] = fnFollow(volume.values[i], groups[static_cast<std::size_t>(side)]);
    }
    return result;
}

} // namespace q32::pulse
