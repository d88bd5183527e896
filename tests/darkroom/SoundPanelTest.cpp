// The panel with a sound and the machine's mixer.
#include "examples/darkroom/ui/SoundPanel.h"

#include "examples/sound/WholeOscillogram.h"
#include "platforms/qt/CqImageView.h"
#include "plugins/WaveFile.h"
#include "tests/darkroom/DarkroomWorld.h"

#include <algorithm>
#include <cmath>
#include <QCheckBox>
#include <QFile>
#include <QSlider>
#include <QToolButton>

namespace {

class DarkroomSound : public DarkroomWindow {
protected:
    void SetUp() override {
        DarkroomWindow::SetUp();
        m_pPanel = m_pWindow->findChild<darkroom::SoundPanel*>("soundPanel");
        ASSERT_TRUE(m_pPanel);
        fnDo("sound");
    }

    /// A second of a tone that swells and fades.
    QString fnMakeTone() const {
        const QString path = fnPath("tone.wav");
        CqWave wave(2, 16, 8000, 8000, true);
        for (int i = 0; i < 8000; ++i) {
            const auto sample =
                static_cast<int>(std::sin(i * 0.2) * 30000 * std::sin(i * 3.14159 / 8000));
            for (int channel = 0; channel < 2; ++channel) {
                unsigned char* const bytes = wave.fnGetBuffer() + 4 * i + 2 * channel;
                bytes[0] = static_cast<unsigned char>(sample);
                bytes[1] = static_cast<unsigned char>(sample >> 8);
            }
        }
        EXPECT_TRUE(q32WriteWave(QFile::encodeName(path).constData(), wave).fnIsDone());
        return path;
    }

    template <typename Widget>
    Widget& fnFind(const char* name) const {
        auto* const widget = m_pPanel->findChild<Widget*>(name);
        if (!widget)
            qFatal("no %s", name);
        return *widget;
    }

    darkroom::SoundPanel* m_pPanel = nullptr;
};

} // namespace

TEST_F(DarkroomSound, ASoundIsLoadedDrawnPlayedPausedAndStopped) {
    auto& play = fnFind<QToolButton>("soundPlay");
    auto& pause = fnFind<QToolButton>("soundPause");
    auto& stop = fnFind<QToolButton>("soundStop");
    EXPECT_TRUE(m_pPanel->isVisible());
    EXPECT_FALSE(play.isEnabled());
    EXPECT_FALSE(m_pPanel->fnLoad(fnPath("missing.wav")));
    EXPECT_FALSE(play.isEnabled());
    ASSERT_TRUE(m_pPanel->fnLoad(fnMakeTone()));
    EXPECT_EQ(m_pPanel->fnGetWave().fnGetFrameCount(), 8000u);
    ASSERT_TRUE(play.isEnabled());
    play.click();
    EXPECT_EQ(m_pPanel->fnGetWave().fnGetState(), WAVE_PLAYING);
    EXPECT_FALSE(play.isEnabled());
    pause.click();
    EXPECT_EQ(m_pPanel->fnGetWave().fnGetState(), WAVE_PAUSED);
    EXPECT_TRUE(play.isEnabled());
    stop.click();
    EXPECT_EQ(m_pPanel->fnGetWave().fnGetState(), WAVE_STOPPED);
    EXPECT_FALSE(stop.isEnabled());
    fnKeepPicture(*m_pWindow, "sound");
}

TEST_F(DarkroomSound, TheOscillogramFillsItsPanelInScreenPixels) {
    ASSERT_TRUE(m_pPanel->fnLoad(fnMakeTone()));
    auto* const view = m_pPanel->findChild<CqImageView*>();
    ASSERT_TRUE(view);
    QCoreApplication::processEvents();
    const QImage shown = view->viewport()->grab().toImage();
    ASSERT_EQ(view->fnGetPixelSize(), shown.size());
    CqImage expected;
    expected.fnAlloc(static_cast<unsigned int>(shown.width()),
                     static_cast<unsigned int>(shown.height()), 24, nullptr, 0);
    fnDrawOscillogram(m_pPanel->fnGetWave(), expected);
    int wrong = 0;
    for (int y = 0; y < shown.height(); ++y)
        for (int x = 0; x < shown.width(); ++x) {
            const CqColor color = expected.fnGetPixelColor(x, y);
            wrong += shown.pixel(x, y) != qRgb(color.m_Red, color.m_Green, color.m_Blue);
        }
    EXPECT_EQ(wrong, 0);
    // The tone swells and fades: its curve is tall in the middle and flat at the ends.
    // On a wide panel a column covers less than a period.
    constexpr int kPeriod = 32;
    const auto height = [&](int middle) {
        int count = 0;
        for (int y = 0; y < shown.height(); ++y) {
            bool drawn = false;
            for (int x = std::max(middle - kPeriod / 2, 0);
                 x < std::min(middle + kPeriod / 2, shown.width()); ++x)
                drawn |= shown.pixel(x, y) != shown.pixel(0, 0);
            count += drawn;
        }
        return count;
    };
    EXPECT_GT(height(shown.width() / 2), shown.height() / 2);
    EXPECT_LT(height(shown.width() / 50), shown.height() / 4);
    EXPECT_LT(height(shown.width() - shown.width() / 50), shown.height() / 4);
}

TEST_F(DarkroomSound, LoopCanBeSetForTheNextStartWhileASoundPlays) {
    auto& loop = fnFind<QToolButton>("soundLoop");
    EXPECT_FALSE(loop.isEnabled());
    ASSERT_TRUE(m_pPanel->fnLoad(fnMakeTone()));
    fnFind<QToolButton>("soundPlay").click();
    ASSERT_EQ(m_pPanel->fnGetWave().fnGetState(), WAVE_PLAYING);
    EXPECT_TRUE(loop.isEnabled());
    loop.click();
    EXPECT_TRUE(loop.isChecked());
    fnFind<QToolButton>("soundStop").click();
    EXPECT_TRUE(loop.isChecked());
}

TEST_F(DarkroomSound, SlidersMoveTheMixer) {
    CqHeadlessMixers& mixers = *m_pMachine->m_pMixers;
    fnFind<QSlider>("soundVolume").setValue(255);
    EXPECT_EQ(mixers.fnGetValues(0, CQ_MIXER_CONTROL::VOLUME),
              (std::vector<std::uint32_t>{255 * 256, 255 * 256}));
    fnFind<QSlider>("soundBalance").setValue(0);
    EXPECT_EQ(mixers.fnGetValues(0, CQ_MIXER_CONTROL::VOLUME)[1], 0u) << "all to the left";
    const auto bass = mixers.fnGetValues(0, CQ_MIXER_CONTROL::BASS);
    fnFind<QSlider>("soundBass").setValue(255);
    EXPECT_NE(mixers.fnGetValues(0, CQ_MIXER_CONTROL::BASS), bass);
    fnFind<QCheckBox>("soundMute").setChecked(true);
    EXPECT_EQ(mixers.fnGetValues(0, CQ_MIXER_CONTROL::MUTE).front(), 1u);
}

TEST_F(DarkroomSound, AnExternalChangeReachesTheSlidersThroughTheMixersDescriptor) {
    CqHeadlessMixers& mixers = *m_pMachine->m_pMixers;
    const auto& volume = fnFind<QSlider>("soundVolume");
    for (const std::uint32_t level : {20001u, 60000u}) {
        const int before = volume.value();
        const int pumps = m_nPumps;
        ASSERT_TRUE(mixers.fnMove(0, CQ_MIXER_CONTROL::VOLUME, {level, level}));
        QCoreApplication::processEvents();
        EXPECT_EQ(volume.value(), before) << "the window has not been notified yet";
        fnNotifyMixers();
        EXPECT_TRUE(fnWaitFor([&] { return volume.value() == static_cast<int>(level >> 8); }));
        QCoreApplication::processEvents();
        EXPECT_EQ(m_nPumps, pumps + 1) << "asked once, since there is nothing more to tell";
    }
    // Also while the panel is hidden.
    fnDo("sound");
    ASSERT_FALSE(m_pPanel->isVisible());
    ASSERT_TRUE(mixers.fnMove(0, CQ_MIXER_CONTROL::MUTE, {1}));
    fnNotifyMixers();
    EXPECT_TRUE(fnWaitFor([&] { return fnFind<QCheckBox>("soundMute").isChecked(); }));
}

TEST_F(DarkroomSound, SlidersFollowExternalChangesWithoutSendingThemBack) {
    CqHeadlessMixers& mixers = *m_pMachine->m_pMixers;
    const std::vector<std::uint32_t> moved = {20001, 20001}; // finer than a slider
    ASSERT_TRUE(mixers.fnMove(0, CQ_MIXER_CONTROL::VOLUME, moved));
    mixers.fnPump();
    EXPECT_EQ(fnFind<QSlider>("soundVolume").value(), 20001 >> 8);
    EXPECT_EQ(mixers.fnGetValues(0, CQ_MIXER_CONTROL::VOLUME), moved);
    ASSERT_TRUE(mixers.fnMove(0, CQ_MIXER_CONTROL::MUTE, {1}));
    mixers.fnPump();
    EXPECT_TRUE(fnFind<QCheckBox>("soundMute").isChecked());
}
