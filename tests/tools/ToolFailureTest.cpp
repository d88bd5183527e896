// What the tool says and leaves when something goes wrong.
#include "tests/tools/ToolTest.h"

#include <cstdint>

namespace {

namespace fs = std::filesystem;

class ToolFailureTest : public ToolTest {
protected:
    /// Expects a run to fail with a message that has these parts, and to leave nothing.
    void fnExpect(int code, const ToolWords& words, const std::vector<std::string>& parts,
                  const ToolRun& run = {}) {
        SCOPED_TRACE(words.front());
        EXPECT_EQ(fnRun(words, run), code) << m_Errors;
        for (const std::string& part : parts)
            EXPECT_NE(m_Errors.find(part), std::string::npos) << part << " isn't in: " << m_Errors;
        EXPECT_EQ(m_Said, "");
        EXPECT_FALSE(fs::exists(fnPath("out.png")));
        EXPECT_EQ(fnListRests(), std::vector<std::string>());
    }
};

TEST_F(ToolFailureTest, NamesTheInputAndWhyItCantBeRead) {
    fnMake("in.png", 20, 10, 24);
    fs::create_directory(fnPath("folder"));
    fnPut("empty.png", "");
    fnPut("text.png", "This is no picture, but a text.");
    fnPut("cut.png", fnGet("in.png").substr(0, 300));
    fnMake("secret.png", 20, 10, 24);
    fs::permissions(fnPath("secret.png"), fs::perms::none);
    fnExpect(1, {"convert", "missing.png", "out.png"},
             {"missing.png", "can't be opened", "No such file"});
    fnExpect(1, {"convert", "folder", "out.png"}, {"folder: can't be opened: it is a folder"});
    fnExpect(1, {"convert", "empty.png", "out.png"}, {"empty.png: is empty"});
    fnExpect(1, {"convert", "text.png", "out.png"}, {"text.png", "known format"});
    fnExpect(1, {"convert", "cut.png", "out.png"}, {"cut.png: is damaged"});
    fnExpect(1, {"convert", "secret.png", "out.png"}, {"secret.png", "Permission denied"},
             {.m_bUnprivileged = true});
    fnExpect(1, {"merge", "in.png", "missing.png", "out.png"}, {"missing.png", "No such file"});
}

TEST_F(ToolFailureTest, NamesTheOutputAndWhyItCantBeSaved) {
    fnMake("in.png", 200, 100, 24);
    fs::create_directory(fnPath("locked"));
    fs::permissions(fnPath("locked"), fs::perms::owner_read | fs::perms::owner_exec |
                                          fs::perms::others_read | fs::perms::others_exec);
    fs::create_directory(fnPath("folder.png"));
    fnExpect(1, {"convert", "in.png", "nowhere/out.png"}, {"nowhere/out.png", "No such file"});
    fnExpect(1, {"convert", "in.png", "locked/out.png"}, {"locked/out.png", "Permission denied"},
             {.m_bUnprivileged = true});
    fnExpect(1, {"convert", "in.png", "folder.png"}, {"folder.png", "it is a folder"});
    fnExpect(1, {"convert", "in.png", "out.png"}, {"out.png: can't be saved", "limit for files"},
             {.m_nFileLimit = 10000});
    // Whatever stood there stays.
    fnPut("old.png", "what was there");
    fnExpect(1, {"convert", "in.png", "old.png"}, {"old.png: can't be saved"},
             {.m_nFileLimit = 10000});
    EXPECT_EQ(fnGet("old.png"), "what was there");
}

TEST_F(ToolFailureTest, SaysWhereTheScratchSpaceIsMissing) {
    fnMake("in.png", 100, 50, 24);
    fnExpect(1, {"resize", "in.png", "3000x", "out.png", "--memory", "1K"},
             {"not enough memory or scratch space", fnPath("scratch").string(), "free"},
             {.m_nFileLimit = 100000});
    fnExpect(1, {"resize", "in.png", "3000x", "out.png", "--scratch", "nowhere"},
             {"nowhere", "No such file"});
    fnExpect(1, {"resize", "in.png", "3000x", "out.png", "--scratch", "in.png"},
             {"in.png", "Not a directory"});
    fnExpect(1, {"resize", "in.png", "2000000000x2000000000", "out.png"}, {"less than 4 GiB"});
}

/// A run-length coded BMP of `height` rows of 4096 equal pixels, in runs of one.
std::string fnCodeBmp(unsigned int height) {
    const auto number = [](std::uint32_t value, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i)
            text += static_cast<char>(value >> 8 * i);
        return text;
    };
    std::string row;
    for (int x = 0; x < 4096; ++x)
        row += "\x01\x07";
    row += std::string(2, '\0');
    std::string data;
    for (unsigned int y = 0; y < height; ++y)
        data += row;
    data += std::string("\0\x01", 2);
    const auto size = static_cast<std::uint32_t>(data.size());
    const std::uint32_t start = 14 + 40 + 4 * 256;
    std::string file = "BM" + number(start + size, 4) + number(0, 4) + number(start, 4);
    file += number(40, 4) + number(4096, 4) + number(height, 4) + number(1, 2) + number(8, 2);
    file += number(1, 4) + number(size, 4) + number(0, 4) + number(0, 4) + number(256, 4) +
            number(0, 4);
    for (std::uint32_t i = 0; i < 256; ++i)
        file += number(i * 0x010101, 4);
    return file + data;
}

TEST_F(ToolFailureTest, RefusesPicturesThatTakeMoreThanAllowed) {
    // A decoder gets a quarter of the memory, and at least 16 MB; it needs all of the coded rows.
    fnPut("runs.bmp", fnCodeBmp(2100));
    EXPECT_EQ(fnRun({"info", "runs.bmp"}), 0) << m_Errors;
    EXPECT_EQ(fnRun({"info", "runs.bmp", "--memory", "80M"}), 0) << m_Errors;
    fnExpect(1, {"convert", "runs.bmp", "out.png", "--memory", "64M"},
             {"runs.bmp: can't be read: Decoding the picture needs more memory"});
}

TEST_F(ToolFailureTest, ExplainsAWrongCommandLine) {
    fnMake("in.png", 20, 10, 24);
    const auto refuse = [&](const ToolWords& words, const std::string& part) {
        fnExpect(2, words, {part});
    };
    refuse({"shrink", "in.png", "out.png"}, "shrink: there is no such command");
    refuse({"resize", "in.png", "out.png"}, "resize: it needs INPUT SIZE OUTPUT");
    refuse({"resize", "in.png", "10x", "20x", "out.png"}, "too many words");
    refuse({"resize", "in.png", "ten", "out.png"}, "SIZE \"ten\" must be a size such as");
    refuse({"resize", "in.png", "x", "out.png"}, "must be a size");
    refuse({"resize", "in.png", "0x10", "out.png"}, "must be a size");
    refuse({"resize", "in.png", "-5%", "out.png"}, "-5%");
    refuse({"resize", "in.png", "10x", "out.xyz"}, "out.xyz: the extension must be one of");
    refuse({"resize", "in.png", "10x", "out"}, "extension");
    refuse({"rotate", "in.png", "400", "out.png"}, "a number from -360 to 360");
    refuse({"rotate", "in.png", "nan", "out.png"}, "a number from");
    refuse({"adjust", "in.png", "out.png", "--brightness", "101"}, "an integer from -100 to 100");
    refuse({"adjust", "in.png", "out.png", "--brightness", "1.5"}, "an integer");
    refuse({"adjust", "in.png", "out.png", "--brightness"}, "--brightness");
    refuse({"adjust", "in.png", "out.png", "--sparkle"}, "there is no option --sparkle");
    refuse({"adjust", "in.png", "out.png", "--hue", "1", "--hue", "2"}, "--hue");
    refuse({"filter", "in.png", "smudge", "out.png"}, "one of blur, sharpen");
    refuse({"filter", "in.png", "weights", "out.png"}, "--weights");
    refuse({"filter", "in.png", "weights", "--weights", "1,2", "out.png"}, "9, 25 or 49");
    refuse({"merge", "in.png", "in.png", "--rule", "mask", "out.png"}, "--mask");
    refuse({"merge", "in.png", "in.png", "--at", "5", "out.png"}, "two integers");
    refuse({"merge", "in.png", "in.png", "--key", "#12345", "out.png"}, "a colour such as");
    refuse({"convert", "in.png", "out.png", "--memory", "lots"}, "an amount such as");
    refuse({"convert", "in.png", "out.png", "--memory", "99999999999G"}, "an amount such as");
    refuse({"convert", "in.png", "out.png", "--scratch", "a,b,c,d,e"}, "one to four folders");
    refuse({"convert", "in.png", "+", "out.png"}, "out.png: there is no such command");
    refuse({"convert", "in.png", "+"}, "a command is missing beside");
    refuse({"convert", "in.png", "+", "info", "out.png"}, "can't be chained");
    refuse(
        {"convert", "in.png", "--quality", "9", "+", "resize", "9x", "out.png", "--quality", "8"},
        "--quality is given twice");
    refuse({"thumbnail", "in.png", "in.png", "missing"}, "must be a folder that exists");
    refuse({"thumbnail", "in.png", "./in.png", "scratch"}, "two pictures would be called in.jpg");
    refuse({"montage", "in.png", "out.png", "--size", "5x"}, "both sides");
    refuse({"help", "shrink"}, "no such command");
    refuse({"--completion", "cmd"}, "bash, zsh or fish");
    refuse({"info"}, "it needs FILE...");
    EXPECT_EQ(fnRun({}), 2);
}

TEST_F(ToolFailureTest, TakesNamesThatLookLikeOptionsOrSizesBehindTwoDashes) {
    fnMake("in.png", 20, 10, 24);
    fs::copy(fnPath("in.png"), fnPath("-in.png"));
    fs::copy(fnPath("in.png"), fnPath("[a,b].png"));
    EXPECT_EQ(fnRun({"resize", "--nearest", "--", "-in.png", "10x", "-out.png"}), 0) << m_Errors;
    EXPECT_TRUE(fs::exists(fnPath("-out.png")));
    EXPECT_EQ(fnRun({"convert", "[a,b].png", "[c,d].png"}), 0) << m_Errors;
    EXPECT_TRUE(fs::exists(fnPath("[c,d].png")));
}

TEST_F(ToolFailureTest, ContinuesPastPicturesThatCantBeRead) {
    fnMake("a.png", 20, 10, 24);
    fnMake("b.png", 20, 10, 24);
    fnPut("broken.png", fnGet("a.png").substr(0, 200));
    fs::create_directory(fnPath("out"));
    EXPECT_EQ(fnRun({"thumbnail", "a.png", "missing.png", "broken.png", "b.png", "out"}), 1);
    EXPECT_NE(m_Errors.find("missing.png: can't be opened"), std::string::npos) << m_Errors;
    EXPECT_NE(m_Errors.find("broken.png: is damaged"), std::string::npos) << m_Errors;
    EXPECT_TRUE(fs::exists(fnPath("out/a.jpg")));
    EXPECT_TRUE(fs::exists(fnPath("out/b.jpg")));
    EXPECT_FALSE(fs::exists(fnPath("out/broken.jpg")));
    EXPECT_EQ(fnListRests(), std::vector<std::string>());
}

TEST_F(ToolFailureTest, DoesntSaveOverAFileThatHoldsMore) {
    // A TIFF of 16 bits a channel would be one; a JPEG with a camera's notes is simpler to make.
    fnMake("in.jpg", 20, 10, 24);
    const std::string plain = fnGet("in.jpg");
    fnPut("in.jpg", plain.substr(0, 2) +
                        std::string("\xFF\xE1\x00\x08"
                                    "Exif\0\0",
                                    10) +
                        plain.substr(2));
    const std::string noted = fnGet("in.jpg");
    EXPECT_EQ(fnRun({"rotate", "in.jpg", "90", "./in.jpg"}), 1);
    EXPECT_NE(m_Errors.find("holds more than was read"), std::string::npos) << m_Errors;
    EXPECT_TRUE(fnGet("in.jpg") == noted);
    EXPECT_EQ(fnRun({"rotate", "in.jpg", "90", "other.jpg"}), 0);
    EXPECT_NE(m_Errors.find("holds more than is read"), std::string::npos) << m_Errors;
    EXPECT_EQ(fnRun({"rotate", "in.jpg", "90", "other.jpg", "--quiet"}), 0);
    EXPECT_EQ(m_Errors, "");
    EXPECT_EQ(fnRun({"rotate", "in.jpg", "90", "./in.jpg", "--force"}), 0) << m_Errors;
    EXPECT_EQ(fnLoad("in.jpg")->Width, 10U);
}

TEST_F(ToolFailureTest, StoresSettingsOnlyOnRequest) {
    EXPECT_EQ(fnRun({"settings"}), 0) << m_Errors;
    EXPECT_NE(m_Said.find(fnPath("scratch").string()), std::string::npos) << m_Said;
    EXPECT_FALSE(fs::exists(fnPath("config/q32Base/Qkz.cfg")));
    fs::create_directory(fnPath("large"));
    EXPECT_EQ(fnRun({"settings", "--scratch", "scratch,large", "--share", "30"}), 0) << m_Errors;
    const std::string changed = m_Said.substr(m_Said.find("memory:"));
    EXPECT_EQ(fnRun({"settings"}), 0);
    EXPECT_EQ(m_Said.substr(m_Said.find("memory:")), changed);
    EXPECT_NE(m_Said.find(fnPath("large").string()), std::string::npos) << m_Said;
    EXPECT_NE(m_Said.find("30 percent"), std::string::npos) << m_Said;
    // A run's own folders aren't stored.
    fnMake("in.png", 20, 10, 24);
    EXPECT_EQ(fnRun({"convert", "in.png", "out.bmp", "--scratch", "large"}), 0);
    EXPECT_EQ(fnRun({"settings", "--share", "0"}), 0);
    EXPECT_NE(m_Said.find(fnPath("scratch").string()), std::string::npos) << m_Said;
    EXPECT_NE(m_Said.find("(half)"), std::string::npos) << m_Said;
    fs::remove_all(fnPath("config/q32Base"));
    fnPut("config/q32Base", "a file in the folder's place");
    EXPECT_EQ(fnRun({"settings", "--share", "5"}), 1);
    EXPECT_NE(m_Errors.find("the settings can't be saved"), std::string::npos) << m_Errors;
}

TEST_F(ToolFailureTest, SaysWhyASoundCantBePlayed) {
    fnExpect(1, {"play", "missing.wav"}, {""});
    fnPut("text.wav", "no sound");
    fnExpect(1, {"play", "text.wav"}, {""});
    EXPECT_NE(m_Errors, "");
}

} // namespace
