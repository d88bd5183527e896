// Runs the program that makes the page of operations on pictures of unusual shapes.
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"
#include "tests/examples/ProgramFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

using q32::test::fnTextOf;

class OperationsPage : public q32::test::ProgramFolder {
protected:
    /// Saves a picture with pixels of many values.
    void fnPut(const char* name, unsigned int width, unsigned int height, unsigned int bits) const {
        CqImage image(width, height, bits);
        CqImageTile tile;
        for (unsigned int i = 0; i < image.TileCount; ++i) {
            image.fnAccessTile(i, &tile);
            for (std::uint32_t at = 0; at < tile.Size; ++at)
                tile.Pixels[at] = static_cast<unsigned char>(at * 7);
        }
        ASSERT_TRUE(q32WritePicture((m_Folder / name).c_str(), image).fnIsDone());
    }
    /// Runs the program in the folder, with its settings there too. Returns its exit code.
    int fnRun(const std::string& arguments) {
        const std::string folder = m_Folder.string();
        const std::string command = "cd '" + folder + "' && HOME='" + folder +
                                    "' XDG_CONFIG_HOME='" + folder + "' '" Q32_OPERATIONS "' " +
                                    arguments + " >said 2>&1 </dev/null";
        const int status = std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
        m_Said = fnTextOf(m_Folder / "said");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    /// The colours of a picture of the page.
    std::set<std::array<int, 3>> fnColorsOf(const std::string& page,
                                            const std::string& name) const {
        std::set<std::array<int, 3>> colors;
        CqImage image;
        const std::string path =
            (m_Folder / page / "pictures/operations" / (name + ".png")).string();
        const CqPictureResult result = q32ReadPicture(path.c_str(), image);
        EXPECT_TRUE(result.fnIsDone()) << q32GetPictureResultText(result);
        for (int y = 0; y < static_cast<int>(image.Height); ++y)
            for (int x = 0; x < static_cast<int>(image.Width); ++x) {
                const CqColor color = image.fnGetPixelColor(x, y);
                colors.insert({color.m_Red, color.m_Green, color.m_Blue});
            }
        return colors;
    }

    std::string m_Said;
};

} // namespace

TEST_F(OperationsPage, ThinTinyAndIndexedPicturesAreShownByEveryRow) {
    fnPut("plain.bmp", 60, 40, 24);
    fnPut("indexed.bmp", 33, 17, 4);
    fnPut("column.bmp", 1, 40, 24);
    fnPut("strip.bmp", 3000, 4, 24);
    for (const std::string name : {"plain", "indexed", "column", "strip"}) {
        ASSERT_EQ(fnRun(name + ".bmp " + name), 0) << name << ": " << m_Said;
        const std::string text = fnTextOf(m_Folder / name / "operations.md");
        const std::string mark = "](pictures/";
        int shown = 0;
        for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
            at += 2;
            ++shown;
            EXPECT_TRUE(fs::exists(m_Folder / name / text.substr(at, text.find(')', at) - at)));
        }
        EXPECT_GT(shown, 40) << name;
    }
}

TEST_F(OperationsPage, APictureThatCantBeReadIsNamed) {
    fnPut("plain.bmp", 60, 40, 24);
    fs::resize_file(m_Folder / "plain.bmp", 40);
    EXPECT_EQ(fnRun("missing.bmp out"), 1);
    EXPECT_NE(m_Said.find("missing.bmp"), std::string::npos) << m_Said;
    EXPECT_EQ(fnRun("plain.bmp out"), 1);
    EXPECT_NE(m_Said.find("plain.bmp"), std::string::npos) << m_Said;
}

TEST_F(OperationsPage, AFolderThatCantBeMadeIsNamed) {
    fnPut("plain.bmp", 60, 40, 24);
    EXPECT_EQ(fnRun("plain.bmp plain.bmp/below"), 1);
    EXPECT_NE(m_Said.find("plain.bmp/below"), std::string::npos) << m_Said;
    EXPECT_EQ(fnRun(""), 1);
}

TEST_F(OperationsPage, ScreensShowTheirDepthAndGammaWhateverTheUsersSettings) {
    fnPut("plain.bmp", 150, 100, 24);
    ASSERT_EQ(fnRun("plain.bmp out"), 0) << m_Said;
    EXPECT_LE(fnColorsOf("out", "screen-8").size(), 256u);
    // The low bits of 5-6-5 repeat the high ones.
    for (const auto& [red, green, blue] : fnColorsOf("out", "screen-16-plain")) {
        EXPECT_EQ(red & 7, red >> 5);
        EXPECT_EQ(green & 3, green >> 6);
        EXPECT_EQ(blue & 7, blue >> 5);
    }
    EXPECT_EQ(fnColorsOf("out", "screen-32"), fnColorsOf("out", "before"));
    EXPECT_EQ(fnColorsOf("out", "screen-24"), fnColorsOf("out", "before"));
    EXPECT_NE(fnColorsOf("out", "screen-gamma"), fnColorsOf("out", "before"));
}
