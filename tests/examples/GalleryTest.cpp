// Runs the gallery program on pictures of unusual shapes.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

void fnPutNumber(std::string& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>(value >> 8 * i);
}

/// A BMP file of 4 or 24 bits whose bytes count upwards.
std::string fnBmp(std::uint32_t width, std::uint32_t height, std::uint32_t bits) {
    const std::uint32_t colors = bits == 4 ? 16 : 0;
    const std::uint32_t pixels = (width * bits + 31) / 32 * 4 * height;
    const std::uint32_t start = 14 + 40 + 4 * colors;
    std::string out = "BM";
    for (const std::uint32_t field : {start + pixels, 0u, start, 40u, width, height})
        fnPutNumber(out, field, 4);
    fnPutNumber(out, 1, 2);
    fnPutNumber(out, bits, 2);
    for (const std::uint32_t field : {0u, pixels, 2835u, 2835u, colors, 0u})
        fnPutNumber(out, field, 4);
    for (std::uint32_t i = 0; i < colors; ++i)
        fnPutNumber(out, i * 0x00111111, 4);
    for (std::uint32_t i = 0; i < pixels; ++i)
        out += static_cast<char>(i * 7);
    return out;
}

std::string fnTextOf(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// How often `part` occurs in `text`.
int fnCount(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

class GalleryTest : public testing::Test {
protected:
    GalleryTest() {
        std::string name = (fs::temp_directory_path() / "gallery-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw fs::filesystem_error("mkdtemp", std::error_code(errno, std::generic_category()));
        m_Folder = name;
    }
    ~GalleryTest() override {
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
    }
    GalleryTest(const GalleryTest&) = delete;
    GalleryTest& operator=(const GalleryTest&) = delete;

    void fnPut(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_Folder / name, std::ios::binary) << bytes;
    }

    /// Runs the gallery in the folder, with its settings there too. Returns its exit code.
    int fnRun(const std::string& arguments) {
        const std::string folder = m_Folder.string();
        const std::string command = "cd '" + folder + "' && HOME='" + folder +
                                    "' XDG_CONFIG_HOME='" + folder + "' '" Q32_GALLERY "' " +
                                    arguments + " >said 2>&1 </dev/null";
        const int status = std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
        m_Said = fnTextOf(m_Folder / "said");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// The pictures that a page refers to and whose files are missing.
    std::string fnMissingOf(const std::string& page) const {
        const std::string text = fnTextOf(m_Folder / "gallery-out" / page);
        std::string missing = text.empty() ? page : "";
        const std::string mark = "src=\"";
        for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
            at += mark.size();
            const std::string name = text.substr(at, text.find('"', at) - at);
            if (!fs::exists(m_Folder / "gallery-out" / name))
                missing += ' ' + name;
        }
        return missing;
    }

    fs::path m_Folder;
    std::string m_Said;
};

TEST_F(GalleryTest, ShowsThinTinyAndIndexedPicturesOnEveryScreen) {
    fnPut("plain.bmp", fnBmp(60, 40, 24));
    fnPut("indexed.bmp", fnBmp(33, 17, 4));
    fnPut("column.bmp", fnBmp(1, 40, 24));
    fnPut("strip.bmp", fnBmp(3000, 4, 24));
    ASSERT_EQ(fnRun("plain.bmp indexed.bmp column.bmp strip.bmp"), 0) << m_Said;
    EXPECT_EQ(fnCount(m_Said, "pixels in RAM"), 4) << m_Said;
    EXPECT_NE(m_Said.find("3000 x 4 pixels of 24 bits"), std::string::npos);
    EXPECT_NE(m_Said.find("33 x 17 pixels of 4 bits"), std::string::npos);
    for (const char* page :
         {"index.html", "screens.html", "operations.html", "resampling.html", "curves.html"})
        EXPECT_EQ(fnMissingOf(page), "") << page;
    // Five scales of each picture, except those that leave a column no width; at four depths with
    // two gammas.
    const std::string screens = fnTextOf(m_Folder / "gallery-out" / "screens.html");
    EXPECT_EQ(fnCount(screens, "<img"), (5 + 5 + 4 + 5) * 4 * 2);
    EXPECT_NE(screens.find("middle, 1/4"), std::string::npos);
}

TEST_F(GalleryTest, ContinuesPastPicturesThatCantBeRead) {
    fnPut("broken.bmp", fnBmp(60, 40, 24).substr(0, 40));
    fnPut("plain.bmp", fnBmp(60, 40, 24));
    EXPECT_EQ(fnRun("missing.bmp broken.bmp plain.bmp"), 1);
    EXPECT_NE(m_Said.find("missing.bmp"), std::string::npos) << m_Said;
    EXPECT_NE(m_Said.find("broken.bmp"), std::string::npos) << m_Said;
    EXPECT_EQ(fnMissingOf("screens.html"), "");
    EXPECT_EQ(fnCount(fnTextOf(m_Folder / "gallery-out" / "screens.html"), "<img"), 5 * 4 * 2);
}

TEST_F(GalleryTest, ReportsWhenItsFolderOrItsUseIsWrong) {
    fnPut("plain.bmp", fnBmp(3, 2, 24));
    EXPECT_EQ(fnRun("--out plain.bmp/below plain.bmp"), 1);
    EXPECT_NE(m_Said.find("plain.bmp/below"), std::string::npos) << m_Said;
    EXPECT_EQ(fnRun("--no-such-option"), 2);
    EXPECT_EQ(fnRun(""), 2);
    EXPECT_EQ(fnRun("--help"), 0);
    EXPECT_NE(m_Said.find("--large"), std::string::npos);
}

TEST_F(GalleryTest, AppliesGammaWhateverTheUsersSettings) {
    fnPut("plain.bmp", fnBmp(60, 40, 24));
    ASSERT_EQ(fnRun("plain.bmp"), 0) << m_Said;
    const fs::path out = m_Folder / "gallery-out";
    EXPECT_NE(fnTextOf(out / "1-one-24bit-gamma180.png"),
              fnTextOf(out / "1-one-24bit-gamma220.png"));
}

} // namespace
