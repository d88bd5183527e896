#include "platforms/pulse/SinkVolume_p.h"

#include <gtest/gtest.h>

#include <pulse/pulseaudio.h>

using namespace q32::pulse;

TEST(SinkVolume, EachValueSurvivesTheRoundTripToTheServer) {
    for (std::uint32_t value = 0; value <= 65535; ++value)
        ASSERT_EQ(fnFromServer(fnToServer(value)), value);
    EXPECT_EQ(fnToServer(0), PA_VOLUME_MUTED);
    EXPECT_EQ(fnToServer(65535), PA_VOLUME_NORM);
    EXPECT_EQ(fnFromServer(PA_VOLUME_NORM * 3 / 2), 65535u);
    EXPECT_EQ(fnFromServer(PA_VOLUME_MAX), 65535u);
}

TEST(SinkVolume, SilentChannelsHaveNoRatioAndFollowTheirSide) {
    pa_channel_map map;
    ASSERT_NE(pa_channel_map_parse(&map, "front-left,front-right,rear-left,lfe"), nullptr);
    const pa_cvolume silent = {4, {0, 0, 0, 0}};
    const pa_cvolume set = fnSetLevels(silent, map, 65535, 16384);
    EXPECT_EQ(set.values[0], 65536u);
    EXPECT_EQ(set.values[1], 16384u);
    EXPECT_EQ(set.values[2], 65536u);
    EXPECT_EQ(set.values[3], 65536u);
    EXPECT_FALSE(fnReadLevels(set, map, false).m_bMono);
}

TEST(SinkVolume, ChannelsWithoutAPositionHaveNoSide) {
    pa_channel_map map;
    ASSERT_NE(pa_channel_map_parse(&map, "aux0,aux1"), nullptr);
    const pa_cvolume volume = {2, {65536, 32768}};
    const Levels levels = fnReadLevels(volume, map, true);
    EXPECT_TRUE(levels.m_bMono);
    EXPECT_TRUE(levels.m_bMute);
    EXPECT_EQ(levels.m_nLeft, 65535u);
    EXPECT_EQ(levels.m_nRight, 65535u);
    const pa_cvolume set = fnSetLevels(volume, map, 16384, 5);
    EXPECT_EQ(set.values[0], 16384u);
    EXPECT_EQ(set.values[1], 8192u);
}

TEST(SinkVolume, ACentreLouderThanTheSidesStopsAtFullVolume) {
    pa_channel_map map;
    ASSERT_NE(pa_channel_map_parse(&map, "front-left,front-right,front-center"), nullptr);
    for (const pa_volume_t sides : {1u, 6554u}) {
        const pa_cvolume set = fnSetLevels({3, {sides, sides, 65536}}, map, 65535, 65535);
        EXPECT_EQ(set.values[0], 65536u);
        EXPECT_EQ(set.values[1], 65536u);
        EXPECT_EQ(set.values[2], 65536u) << sides;
    }
    const pa_cvolume loud = {3, {100, 100, 131072}};
    EXPECT_EQ(fnSetLevels(loud, map, 200, 200).values[2], 131072u) << "it was above";
    EXPECT_EQ(fnSetLevels(loud, map, 50, 50).values[2], 65536u) << "half of it";
    EXPECT_EQ(fnSetLevels({3, {1, 1, PA_VOLUME_MAX}}, map, 65535, 0).values[2], PA_VOLUME_MAX);
}

TEST(SinkVolume, AVolumeAboveFullKeepsItsRatioWhenItIsLowered) {
    pa_channel_map map;
    ASSERT_NE(pa_channel_map_parse(&map, "front-left,front-right,rear-left"), nullptr);
    const pa_cvolume loud = {3, {131072, 65536, 65536}};
    const pa_cvolume set = fnSetLevels(loud, map, 16384, 16384);
    EXPECT_EQ(set.values[0], 16384u);
    EXPECT_EQ(set.values[2], 8192u);
}
