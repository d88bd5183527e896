#include "q32Base/sound/CqSoundCtrl.h"
#include "tests/sound/MixerTest.h"

using namespace q32::test;

namespace {

/// The table of volume and balance, spelt out.
Values fnLevels(std::uint32_t v, std::uint32_t b) {
    if (b < 128)
        return {v * 256, b * v * 2};
    if (b > 128)
        return {(255 - b) * v * 2, v * 256};
    return {v * 256, v * 256};
}

class MixerArithmeticTest : public MixerTest {
protected:
    void fnStart(std::uint32_t channels) {
        CqHeadlessMixerDevice device;
        device.m_nChannels = channels;
        device.m_Controls = {{CQ_MIXER_CONTROL::VOLUME, 2, Values(channels, 0)}};
        fnMixers().fnAddDevice(device);
        ASSERT_TRUE(m_Control.fnCreate(&m_Parent, 1, 1));
    }
    Values fnGet() { return fnMixers().fnGetValues(0, CQ_MIXER_CONTROL::VOLUME); }
    /// Volume and balance as read from levels set outside.
    Values fnRead(const Values& levels) {
        fnMixers().fnMove(0, CQ_MIXER_CONTROL::VOLUME, levels);
        fnMixers().fnPump();
        return {m_Control.fnGetVolume(), m_Control.fnGetBalance()};
    }

    CqSoundCtrl m_Control;
};

TEST_F(MixerArithmeticTest, EachVolumeAndBalanceGivesItsLevelsAndReadsBack) {
    fnStart(2);
    for (std::uint32_t b = 0; b < 256; ++b)
        for (std::uint32_t v = 0; v < 256; ++v) {
            ASSERT_TRUE(m_Control.fnSetVolume(static_cast<int>(v)));
            ASSERT_TRUE(m_Control.fnSetBalance(static_cast<int>(b)));
            ASSERT_EQ(fnGet(), fnLevels(v, b)) << v << " " << b;
            fnMixers().fnReport(0, 2);
            fnMixers().fnPump();
            ASSERT_EQ(m_Control.fnGetVolume(), v);
            // At volume 0 both channels are 0, and any balance reads back as the centre.
            ASSERT_EQ(m_Control.fnGetBalance(), v == 0 ? 128u : b) << v;
        }
}

TEST_F(MixerArithmeticTest, LevelsFromOutsideAreReadByTheSameRule) {
    fnStart(2);
    EXPECT_EQ(fnRead({51200, 25600}), (Values{200, 64}));
    EXPECT_EQ(fnRead({25600, 51200}), (Values{200, 191}));
    EXPECT_EQ(fnRead({65535, 65535}), (Values{255, 128}));
    EXPECT_EQ(fnRead({65535, 0}), (Values{255, 0}));
    EXPECT_EQ(fnRead({0, 65535}), (Values{255, 255}));
    EXPECT_EQ(fnRead({255, 0}), (Values{0, 128})) << "below the scale";
    EXPECT_EQ(fnRead({0, 255}), (Values{0, 128}));
    EXPECT_EQ(fnRead({511, 510}), (Values{1, 255})) << "hardly quieter, but all to the right";
    EXPECT_EQ(fnRead({510, 511}), (Values{1, 0}));
    EXPECT_EQ(fnRead({51201, 51200}), (Values{200, 128}));
}

TEST_F(MixerArithmeticTest, EveryPairOfCoarseLevelsIsReadByTheRule) {
    fnStart(2);
    for (std::uint32_t left = 0; left < 65536; left += 255)
        for (std::uint32_t right = 0; right < 65536; right += 257) {
            const std::uint32_t v = (left > right ? left : right) >> 8;
            std::uint32_t b = 128;
            if (v != 0 && right < left)
                b = right / (2 * v);
            else if (v != 0 && right > left)
                b = 255 - left / (2 * v);
            ASSERT_EQ(fnRead({left, right}), (Values{v, b})) << left << " " << right;
        }
}

TEST_F(MixerArithmeticTest, AMonoLineIsAlwaysCentred) {
    fnStart(1);
    EXPECT_EQ(fnRead({51200}), (Values{200, 128}));
    EXPECT_TRUE(m_Control.fnSetBalance(0));
    EXPECT_EQ(fnGet(), (Values{51200})) << "left";
    fnMixers().fnReport(0, 2);
    fnMixers().fnPump();
    EXPECT_EQ(m_Control.fnGetBalance(), 128u);
    EXPECT_TRUE(m_Control.fnSetBalance(255));
    EXPECT_EQ(fnGet(), (Values{0}));
}

} // namespace
