// Runs the programs of the guide, and compares what they print and write with values worked out
// here or found in a second way.
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"
#include "tests/examples/ProgramFolder.h"
#include "tests/resampling/PlainResample.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

using q32::test::fnTextOf;

class Programs : public q32::test::ProgramFolder {
protected:
    /// Runs a program in the folder, with its settings there too. Returns its exit code.
    int fnRun(const std::string& line) {
        const std::string folder = m_Folder.string();
        const std::string command =
            "cd '" + folder + "' && HOME='" + folder + "' XDG_CONFIG_HOME='" + folder +
            "' QT_QPA_PLATFORM=offscreen '" Q32_PROGRAMS "'" + line + " >out 2>err </dev/null";
        const int status = std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
        m_Out = fnTextOf(m_Folder / "out");
        m_Err = fnTextOf(m_Folder / "err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string fnPath(const char* name) const { return (m_Folder / name).string(); }
    void fnRead(const char* name, CqImage& image) const {
        const CqPictureResult result = q32ReadPicture(fnPath(name).c_str(), image);
        EXPECT_TRUE(result.fnIsDone()) << q32GetPictureResultText(result);
    }
    /// Makes the landscape "in.png".
    void fnPaint(const std::string& size) { ASSERT_EQ(fnRun("landscape in.png " + size), 0); }

    std::string m_Out;
    std::string m_Err;
};

/// How many pixels differ from what `expected` gives for them.
template <typename Expected>
int fnCountWrong(CqImage& image, const Expected& expected) {
    int wrong = 0;
    for (int y = 0; y < static_cast<int>(image.Height); ++y)
        for (int x = 0; x < static_cast<int>(image.Width); ++x)
            wrong += image.fnGetPixelColor(x, y) == expected(x, y) ? 0 : 1;
    return wrong;
}

} // namespace

TEST_F(Programs, EachSaysWhatItTakes) {
    for (const std::string name :
         {"landscape", "resize", "thumbnails", "larger_than_memory", "masks", "curves",
          "screen_of_256_colors", "own_files", "own_format", "own_operation"}) {
        EXPECT_EQ(fnRun(name), 1);
        EXPECT_EQ(m_Err.find(name + " <"), 0u) << m_Err;
    }
}

TEST_F(Programs, LandscapePaintsItsScene) {
    fnPaint("200 100");
    EXPECT_EQ(m_Out + m_Err, "");
    CqImage image;
    fnRead("in.png", image);
    ASSERT_EQ(image.Width, 200u);
    ASSERT_EQ(image.Height, 100u);
    EXPECT_STREQ(image.Title, "Landscape");
    EXPECT_EQ(image.fnGetPixelColor(0, 0), CqColor(90, 140, 220)) << "sky";
    EXPECT_EQ(image.fnGetPixelColor(105, 22), CqColor(255, 240, 190)) << "the sun's middle";
    EXPECT_EQ(image.fnGetPixelColor(37, 60), CqColor(70, 115, 90)) << "the far hill";
    EXPECT_EQ(image.fnGetPixelColor(120, 90), CqColor(65, 136, 30)) << "the near hill";
}

TEST_F(Programs, LandscapeSaysWhyItFails) {
    EXPECT_EQ(fnRun("landscape missing/a.png"), 1);
    EXPECT_EQ(m_Err, "Unable to save the file [missing/a.png].\n");
    EXPECT_EQ(fnRun("landscape a.xyz"), 1);
    EXPECT_EQ(m_Err, "a.xyz: File format is not supported. Unable to access the file.\n");
    EXPECT_EQ(fnRun("landscape a.png -5 5"), 1);
    EXPECT_EQ(m_Err, "Insufficient memory. Please close other programs to free up system "
                     "resources.\n");
}

TEST_F(Programs, ResizeFiltersThePicture) {
    fnPaint("200 100");
    ASSERT_EQ(fnRun("resize in.png out.bmp 50"), 0) << m_Err;
    EXPECT_EQ(m_Out, "200 x 100 -> 50 x 25\n");
    CqImage before;
    CqImage after;
    fnRead("in.png", before);
    fnRead("out.bmp", after);
    ASSERT_EQ(after.Width, 50u);
    ASSERT_EQ(after.Height, 25u);
    // The filter, sample by sample.
    EXPECT_EQ(q32::test::fnRows(after),
              q32::test::fnPlainFilter(q32::test::fnRows(before), 24, 50, 25, 0.25, 0.25));
}

TEST_F(Programs, ResizeSaysWhyItFails) {
    EXPECT_EQ(fnRun("resize missing.png out.png 50"), 1);
    EXPECT_EQ(m_Err, "Unable to open the file [missing.png].\n");
    EXPECT_EQ(fnRun("resize in.png out.png 0"), 1);
    EXPECT_EQ(m_Err, "resize <picture> <new file> <width>\n");
    EXPECT_FALSE(fs::exists(fnPath("out.png")));
}

TEST_F(Programs, ThumbnailsShrinksEveryPictureOfTheFolder) {
    fs::create_directory(fnPath("photos"));
    fnPaint("10 10");
    ASSERT_EQ(fnRun("landscape photos/wide.png 600 400"), 0);
    ASSERT_EQ(fnRun("landscape photos/tall.bmp 100 300"), 0);
    ASSERT_EQ(fnRun("landscape photos/small.jpg 20 10"), 0);
    std::ofstream(fnPath("photos/broken.png")) << "\x89PNG\r\n\x1a\n";
    std::ofstream(fnPath("photos/notes.txt")) << "no picture";
    EXPECT_EQ(fnRun("thumbnails photos small"), 1);
    EXPECT_EQ(m_Err, "The file [photos/broken.png] is invalid or corrupted.\n");
    EXPECT_TRUE(m_Out.ends_with("\r[##########]\n3 of 4 thumbnails\n")) << m_Out;
    // 128 of 600 columns are 85.3 of 400 rows; sizes are rounded up.
    const std::tuple<const char*, unsigned int, unsigned int> kSizes[] = {
        {"small/wide.png", 128, 86}, {"small/tall.png", 43, 128}, {"small/small.png", 20, 10}};
    for (const auto& [name, width, height] : kSizes) {
        CqImage image;
        fnRead(name, image);
        EXPECT_EQ(image.Width, width) << name;
        EXPECT_EQ(image.Height, height) << name;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(fnPath("small")), {}), 3);
}

TEST_F(Programs, LargerThanMemoryUsesTheFirstDiskWithRoom) {
    fs::create_directory(fnPath("a"));
    fs::create_directory(fnPath("b"));
    const std::string text = "3000 x 2000 pixels take 17 MB; the limit is 4 MB\n"
                             "pixels lie in a scratch file\n";
    const std::string rotated = "rotated: 2000 x 3000, pixel 255 200 0\n";
    EXPECT_EQ(fnRun("larger_than_memory 3000 2000 4 a b"), 0) << m_Err;
    EXPECT_EQ(m_Out, text + "files on disk 0: 1\nfiles on disk 1: 0\n" + rotated);
    // There is no room in the system's folder of processes.
    EXPECT_EQ(fnRun("larger_than_memory 3000 2000 4 /proc b"), 0) << m_Err;
    EXPECT_EQ(m_Out, text + "files on disk 0: 0\nfiles on disk 1: 1\n" + rotated);
    EXPECT_EQ(fnRun("larger_than_memory 3000 2000 400 a b"), 0) << m_Err;
    EXPECT_NE(m_Out.find("pixels lie in RAM\n"), std::string::npos);
    EXPECT_TRUE(fs::is_empty(fnPath("a")));
    EXPECT_TRUE(fs::is_empty(fnPath("b")));
    EXPECT_EQ(fnRun("larger_than_memory 3000 2000 4 /proc /proc"), 1);
    EXPECT_EQ(m_Err, "Insufficient memory. Please close other programs to free up system "
                     "resources.\n");
}

TEST_F(Programs, MasksRecolorsARing) {
    fnPaint("200 100");
    ASSERT_EQ(fnRun("masks in.png out.png"), 0) << m_Err;
    CqImage before;
    CqImage after;
    fnRead("in.png", before);
    fnRead("out.png", after);
    CqImage changed(before);
    changed.fnHueSaturation(180, 20, false, nullptr);
    int inside = 0;
    const int wrong = fnCountWrong(after, [&](int x, int y) {
        const int distance = (x - 100) * (x - 100) + (y - 50) * (y - 50);
        const bool ring = distance <= 40 * 40 && distance > 20 * 20;
        inside += ring ? 1 : 0;
        return ring ? changed.fnGetPixelColor(x, y) : before.fnGetPixelColor(x, y);
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(inside, 3000);
}

TEST_F(Programs, UndoStepsBackAndForward) {
    std::string levels[3];
    CqImage image(64, 64, 24);
    image.fnFill(CqColor(100, 100, 100), nullptr, false);
    for (std::string& level : levels) {
        image.fnBrightContrast(10, 0, false, nullptr);
        level = ": " + std::to_string(image.fnGetPixelColor(0, 0).m_Red) + '\n';
    }
    EXPECT_NE(levels[0], levels[1]);
    EXPECT_NE(levels[1], levels[2]);
    ASSERT_EQ(fnRun("undo"), 0) << m_Err;
    EXPECT_EQ(m_Out, "brighter" + levels[0] + "brighter" + levels[1] + "brighter" + levels[2] +
                         "undone" + levels[1] + "undone" + levels[0] + "redone" + levels[1]);
}

TEST_F(Programs, CurvesDrawsOverThePicture) {
    fnPaint("200 100");
    ASSERT_EQ(fnRun("curves in.png out.png"), 0) << m_Err;
    // The arc's middle is at an eighth of 49, for its ends are there and its controls at 0.
    int segments = 0;
    int crossings = 0;
    double y = 0.0;
    ASSERT_EQ(std::sscanf(m_Out.c_str(), "%d segments; %d crossing in the middle, at y = %lf",
                          &segments, &crossings, &y),
              3);
    EXPECT_GT(segments, 4);
    EXPECT_LT(segments, 64);
    EXPECT_EQ(crossings, 1);
    EXPECT_NEAR(y, 49.0 / 4, 0.01);
    CqImage before;
    CqImage after;
    fnRead("in.png", before);
    fnRead("out.png", after);
    const CqColor yellow(255, 230, 0);
    const CqColor white(255, 255, 255);
    EXPECT_EQ(after.fnGetPixelColor(0, 99), yellow);
    EXPECT_EQ(after.fnGetPixelColor(199, 0), yellow);
    EXPECT_EQ(after.fnGetPixelColor(0, 49 + 24), white);
    EXPECT_EQ(after.fnGetPixelColor(199, 49 + 24), white);
    int drawn = 0;
    EXPECT_EQ(fnCountWrong(after,
                           [&](int x, int row) {
                               const CqColor color = after.fnGetPixelColor(x, row);
                               const bool line = color == yellow || color == white;
                               drawn += line ? 1 : 0;
                               return line ? color : before.fnGetPixelColor(x, row);
                           }),
              0);
    EXPECT_GT(drawn, 13 * 100);
}

TEST_F(Programs, TheScreenOf256ColorsShowsTheDitheredPicture) {
    fnPaint("320 200");
    ASSERT_EQ(fnRun("screen_of_256_colors in.png out.bmp"), 0) << m_Err;
    CqImage before;
    CqImage shown;
    fnRead("in.png", before);
    fnRead("out.bmp", shown);
    ASSERT_EQ(shown.Width, 320u);
    std::set<unsigned long> colors;
    double means[2][3] = {};
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 320; ++x) {
            const CqColor color = shown.fnGetPixelColor(x, y);
            colors.insert(color);
            const CqColor both[] = {color, before.fnGetPixelColor(x, y)};
            for (int i = 0; i < 2; ++i) {
                means[i][0] += both[i].m_Red / 64000.0;
                means[i][1] += both[i].m_Green / 64000.0;
                means[i][2] += both[i].m_Blue / 64000.0;
            }
        }
    }
    EXPECT_EQ(m_Out, std::to_string(colors.size()) + " colours on the screen\n");
    EXPECT_GT(colors.size(), 20u);
    EXPECT_LE(colors.size(), 216u);
    for (int channel = 0; channel < 3; ++channel) // dither keeps the brightness of a whole
        EXPECT_NEAR(means[0][channel], means[1][channel], 8.0) << channel;
}

TEST_F(Programs, OwnFilesReadsFromMemory) {
    fnPaint("200 100");
    EXPECT_EQ(fnRun("own_files in.png"), 0) << m_Err;
    EXPECT_EQ(m_Out, "from memory: 200 x 100 pixels\n");
    EXPECT_EQ(fnRun("own_files missing.png"), 1);
    EXPECT_EQ(m_Err, "The file [memory:picture] is empty. Unable to open.\n");
}

TEST_F(Programs, OwnFormatConvertsBothWays) {
    fnPaint("200 100");
    ASSERT_EQ(fnRun("own_format in.png out.ppm"), 0) << m_Err;
    CqImage before;
    fnRead("in.png", before);
    std::string expected = "P6\n200 100\n255\n";
    for (const auto& row : q32::test::fnRows(before))
        expected.append(row.begin(), row.end());
    EXPECT_TRUE(fnTextOf(fnPath("out.ppm")) == expected);
    ASSERT_EQ(fnRun("own_format out.ppm again.bmp"), 0) << m_Err;
    CqImage after;
    fnRead("again.bmp", after);
    EXPECT_EQ(q32::test::fnRows(after), q32::test::fnRows(before));
}

TEST_F(Programs, OwnFormatRefusesWhatIsWrong) {
    const std::pair<std::string, const char*> kFiles[] = {
        {"P6\n3 2\n255\nonly one row", "The file [in.ppm] is invalid or corrupted.\n"},
        {"P6\nthree", "The file [in.ppm] is invalid or corrupted.\n"},
        {"P6\n3 2\n65535\n", "in.ppm: File format is not supported. Unable to access the file.\n"},
        {"P6\n70000 70000\n255\n", "in.ppm: Insufficient memory. Please close other programs to "
                                   "free up system resources.\n"}};
    for (const auto& [bytes, said] : kFiles) {
        std::ofstream(fnPath("in.ppm"), std::ios::binary) << bytes;
        EXPECT_EQ(fnRun("own_format in.ppm out.png"), 1);
        EXPECT_EQ(m_Err, said);
        EXPECT_FALSE(fs::exists(fnPath("out.png")));
    }
}

TEST_F(Programs, OwnOperationIsCompleteOrDoesNothing) {
    fnPaint("200 100"); // two tiles
    CqImage before;
    CqImage after;
    fnRead("in.png", before);
    ASSERT_EQ(fnRun("own_operation in.png out.png"), 0) << m_Err;
    EXPECT_EQ(m_Out, "done\n");
    EXPECT_EQ(m_Err, "0 %\n50 %\n");
    fnRead("out.png", after);
    EXPECT_EQ(fnCountWrong(after,
                           [&](int x, int y) {
                               const CqColor c = before.fnGetPixelColor(x, y);
                               return CqColor(c.m_Red / 64 * 85, c.m_Green / 64 * 85,
                                              c.m_Blue / 64 * 85);
                           }),
              0);
    ASSERT_EQ(fnRun("own_operation in.png out.png 50"), 0) << m_Err;
    EXPECT_EQ(m_Out, "aborted\n");
    fnRead("out.png", after);
    EXPECT_EQ(q32::test::fnRows(after), q32::test::fnRows(before));
}

#if defined(Q32_QT_PROGRAM)
TEST_F(Programs, TheWindowShowsThePictureInItsMiddle) {
    fnPaint("200 100");
    ASSERT_EQ(fnRun("qt_window in.png shot.png"), 0) << m_Err;
    CqImage shot;
    fnRead("shot.png", shot);
    ASSERT_EQ(shot.Width, 800u);
    ASSERT_EQ(shot.Height, 600u);
    // At 300, 250 of the window: the whole picture is seen, and not enlarged.
    EXPECT_TRUE(shot.fnGetPixelColor(300 + 105, 250 + 22).fnIsEqual(CqColor(255, 240, 190), false));
    EXPECT_TRUE(shot.fnGetPixelColor(300 + 120, 250 + 95).m_Green > 130);
    EXPECT_EQ(fnRun("qt_window"), 1);
    EXPECT_NE(m_Err.find("qt_window <picture>"), std::string::npos) << m_Err;
}
#endif
