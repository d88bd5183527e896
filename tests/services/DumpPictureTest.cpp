/// @file
/// The dump window in pixels.

#include "tests/services/DumpTestTools.h"
#include "tests/support/GoldenPicture.h"

namespace {

constexpr std::uint32_t kInk = 0x000000;
constexpr std::uint32_t kPaper = 0xFFFFFF;
constexpr std::uint32_t kFace = 0xC0C0C0;
constexpr std::uint32_t kMarked = 0x000080;

class DumpPicture : public DumpTest {
protected:
    CqHeadlessDumpView& fnOpen(const char* layout) {
        return DumpTest::fnOpen(std::string("Layout=") + layout + "\r\n");
    }
    /// Whether a line of text is drawn at a position, character by character, in ink on paper.
    static bool fnShows(const CqHeadlessPicture& picture, const std::string& text, std::size_t left,
                        std::size_t top, const CqHeadlessFont& font, std::uint32_t ink,
                        std::uint32_t paper) {
        const auto width = static_cast<std::size_t>(font.fnMeasure(1).cx);
        const auto height = static_cast<std::size_t>(font.fnMeasure(1).cy);
        for (std::size_t x = 0; x < text.size() * width; ++x)
            for (std::size_t y = 0; y < height; ++y) {
                const bool drawn =
                    font.fnIsInk(text[x / width], static_cast<int>(x % width), static_cast<int>(y));
                if (picture.fnGetPixel(left + x, top + y) != (drawn ? ink : paper))
                    return false;
            }
        return true;
    }

    const CqHeadlessFont m_FrameFont{11};
};

} // namespace

TEST_F(DumpPicture, AWindowFillsItsPlaceWithTextBetweenCaptionAndStatusBar) {
    const CqHeadlessDumpView& view = fnOpen("100,50,205,120"); // 17 cells and 3 pixels by 70
    CqDumpBin dump;
    dump << "first\nsecond \x80\n";
    const CqHeadlessPicture picture = view.fnGetPicture();
    ASSERT_EQ(picture.m_nWidth, 105u);
    ASSERT_EQ(picture.m_nHeight, 70u);
    EXPECT_TRUE(fnShows(picture, "Dump Window      ", 0, 0, m_FrameFont, kPaper, kMarked));
    EXPECT_TRUE(fnShows(picture, "first            ", 0, 11, m_FrameFont, kInk, kPaper));
    EXPECT_TRUE(fnShows(picture, "second \x80         ", 0, 22, m_FrameFont, kInk, kPaper));
    EXPECT_TRUE(fnShows(picture, "Ready            ", 0, 59, m_FrameFont, kInk, kFace));
    EXPECT_EQ(picture.fnGetPixel(104, 0), kMarked) << "the pixels beside the last cell";
    EXPECT_EQ(picture.fnGetPixel(104, 58), kPaper);
    EXPECT_EQ(picture.fnGetPixel(104, 69), kFace);
}

TEST_F(DumpPicture, TheTextIsShownInItsOwnFont) {
    m_World->m_pScreen->fnSetIconTitleHeight(33);
    const CqHeadlessDumpView& view = fnOpen("0,0,90,100");
    CqDumpBin dump;
    dump << "abcdefgh\nij";
    const CqHeadlessPicture picture = view.fnGetPicture();
    const CqHeadlessFont large(33);
    EXPECT_TRUE(fnShows(picture, "abcde", 0, 11, large, kInk, kPaper)) << "18 pixels a sign";
    EXPECT_TRUE(fnShows(picture, "ij   ", 0, 44, large, kInk, kPaper));
    EXPECT_TRUE(fnShows(picture, "Ready", 0, 89, m_FrameFont, kInk, kFace));
}

TEST_F(DumpPicture, TheMenuCoversTheTextWhileAnItemIsHighlighted) {
    CqHeadlessDumpView& view = fnOpen("0,0,240,88");
    view.fnHighlight(32);
    const CqHeadlessPicture picture = view.fnGetPicture();
    EXPECT_TRUE(fnShows(picture, "Sa", 12, 11, m_FrameFont, kInk, kFace));
    EXPECT_EQ(picture.fnGetPixel(12 + 2 * 6, 21), kInk) << "below the v of Save";
    EXPECT_TRUE(fnShows(picture, " On Top ", 12 + 6 * 6, 22, m_FrameFont, kPaper, kMarked));
    EXPECT_EQ(picture.fnGetPixel(12 + 2 * 6, 32), kPaper) << "below the w of Always";
    EXPECT_EQ(picture.fnGetPixel(5, 38), 0x808080u) << "the separator";
    EXPECT_EQ(picture.fnGetPixel(5, 45), kPaper) << "the text";
    EXPECT_TRUE(fnShows(picture, "Places the window above all other window", 0, 77, m_FrameFont,
                        kInk, kFace));
}

TEST_F(DumpPicture, AWindowThatIsTooSmallShowsWhatFits) {
    CqHeadlessDumpView& view = fnOpen("0,0,40,22");
    EXPECT_EQ(view.fnGetPicture().m_nHeight, 22u) << "caption and status bar";
    view.fnHighlight(16); // larger than the window
    EXPECT_EQ(view.fnGetPicture().m_nWidth, 40u);
    view.fnMove({0, 0, 40, 15});
    EXPECT_EQ(view.fnGetPicture().fnGetPixel(39, 14), kMarked) << "the menu, where the text was";
    view.fnHighlight(0);
    EXPECT_EQ(view.fnGetPicture().fnGetPixel(39, 14), kPaper);
    view.fnMove({0, 0, 40, 10});
    EXPECT_TRUE(view.fnGetPicture().m_Rgb.empty());
}

TEST_F(DumpPicture, MatchesTheReviewedPictures) {
    CqHeadlessDumpView& view = fnOpen("0,0,360,143");
    unsigned char bytes[40];
    for (std::size_t i = 0; i < sizeof(bytes); ++i)
        bytes[i] = static_cast<unsigned char>(7 * i);
    CqDumpBin dump;
    dump << "Tiles: " << 12 << " of " << 128ul << ", flags " << 0xBEEFu << "\nscale " << 1.5
         << "\n\n";
    dump.fnHexDump("row:", bytes, sizeof(bytes), 16);
    fnCompareGolden(view.fnGetPicture(), "dump_window");
    view.fnHighlight(32);
    fnCompareGolden(view.fnGetPicture(), "dump_menu");
}
