#include "examples/sound/WholeOscillogram.h"

#include "tests/support/AttachedTest.h"

#include <cstring>
#include <set>
#include <vector>

namespace {

class WholeOscillogram : public AttachedTest {
protected:
    /// A sound of two channels, each of which has one value throughout.
    static void fnFill(CqWave& wave, std::uint32_t frames) {
        wave.fnAlloc(2, 16, 8000, frames, true);
        for (std::uint32_t i = 0; i < frames; ++i) {
            const std::int16_t samples[] = {16000, -9000};
            std::memcpy(wave.fnGetBuffer() + 4 * std::size_t{i}, samples, 4);
        }
    }
    /// How many different columns an image has.
    static std::size_t fnCountColumns(CqImage& image) {
        std::set<std::vector<unsigned char>> columns;
        for (unsigned x = 0; x < image.Width; ++x) {
            std::vector<unsigned char> column;
            for (unsigned y = 0; y < image.Height; ++y)
                column.push_back(
                    image.fnGetPixelColor(static_cast<int>(x), static_cast<int>(y)).m_Green);
            columns.insert(column);
        }
        return columns.size();
    }
};

} // namespace

TEST_F(WholeOscillogram, EachColumnShowsWholeFramesWhateverTheLength) {
    for (const std::uint32_t frames : {320u, 321u, 333u, 479u, 481u, 999u, 12345u, 100u, 7u, 1u}) {
        CqWave wave;
        fnFill(wave, frames);
        CqImage image(320, 120, 24, nullptr, 0);
        fnDrawOscillogram(wave, image);
        EXPECT_EQ(image.Width, 320u);
        EXPECT_LE(fnCountColumns(image), 2u) << frames << " frames: one value is one line, "
                                             << "perhaps with a beginning";
    }
    // What this avoids: columns that begin within a frame.
    CqWave wave;
    fnFill(wave, 333);
    CqImage image(320, 120, 24, nullptr, 0);
    wave.fnRasterize(image, 0, 333, false, false);
    EXPECT_EQ(fnCountColumns(image), 1u) << "by chance 4 bytes a step";
    fnFill(wave, 479);
    wave.fnRasterize(image, 0, 479, false, false);
    EXPECT_GT(fnCountColumns(image), 2u);
}

TEST_F(WholeOscillogram, TheEndOfASoundIsShownWhateverItsLength) {
    for (const std::uint32_t frames : {321u, 479u, 639u, 999u, 12345u, 7u}) {
        CqWave wave;
        fnFill(wave, frames);
        std::memset(wave.fnGetBuffer() + 4 * std::size_t{frames / 2}, 0,
                    4 * std::size_t{frames - frames / 2}); // the second half is silent
        CqImage image(320, 120, 24, nullptr, 0);
        fnDrawOscillogram(wave, image);
        const auto isLoud = [&](int x) {
            int green = 0;
            for (int y = 0; y < 60; ++y)
                green += image.fnGetPixelColor(x, y).m_Green == 255;
            return green > 2;
        };
        int loud = 0;
        for (int x = 0; x < 320; ++x)
            loud += isLoud(x);
        EXPECT_NEAR(loud, 160, frames < 320 ? 30 : 3) << frames;
    }
}

TEST_F(WholeOscillogram, ASoundWithoutFramesIsDrawnAsBackground) {
    CqImage image(32, 12, 24, nullptr, 0);
    fnDrawOscillogram(CqWave(), image);
    EXPECT_EQ(fnCountColumns(image), 1u);
}
