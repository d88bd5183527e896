/// @file
/// The dump window's entries in the settings file.

#include "tests/services/DumpTestTools.h"

#include <cstdlib>
#include <memory>

namespace {

constexpr UINT kOnTop = 32;

class DumpLayout : public DumpTest {
protected:
    std::string fnSetting(const char* key) const {
        const std::string text = m_World->fnGetSettings().value_or("");
        const std::string head = std::string(key) + "=";
        const std::size_t at = text.find(head);
        if (at == std::string::npos)
            return "(none)";
        return text.substr(at + head.size(), text.find('\r', at) - at - head.size());
    }
    CRect fnPlaceOf(const std::string& layout) {
        return fnOpen("Layout=" + layout + "\r\n").fnGetPlace();
    }
};

} // namespace

TEST_F(DumpLayout, TheOnTopStateComesFromTheSettings) {
    EXPECT_TRUE(fnOpen("OnTop=1\r\n").fnIsOnTop());
    EXPECT_TRUE(fnOpen("OnTop=\r\n").fnIsOnTop()) << "no value is the default";
    for (const char* value : {"0", "2", "-1", "x"}) {
        const CqHeadlessDumpView& view = fnOpen(std::string("OnTop=") + value + "\r\n");
        EXPECT_FALSE(view.fnIsOnTop()) << value;
        EXPECT_FALSE(view.fnGetMenu()[1].m_bChecked) << value;
        q32DestroyDumpWnd();
        EXPECT_EQ(fnSetting("OnTop"), "0");
    }
}

TEST_F(DumpLayout, TheLayoutSurvivesInTheSettings) {
    fnOpen().fnMove({-10, 20, 310, 220});
    fnView()->fnChoose(kOnTop);
    q32DestroyDumpWnd();
    EXPECT_EQ(fnSetting("Layout"), "-10,20,310,220");
    EXPECT_EQ(fnSetting("PrefDir"), "");
    EXPECT_EQ(fnSetting("OnTop"), "0");
    ASSERT_TRUE(q32CreateDumpWnd());
    EXPECT_EQ(CRect(fnView()->fnGetPlace()), CRect(-10, 20, 310, 220));
    EXPECT_FALSE(fnView()->fnIsOnTop());
}

TEST_F(DumpLayout, AWindowThatTheUserClosesSavesItsLayoutAndCanBeMadeAgain) {
    fnOpen().fnMove({1, 2, 103, 204});
    fnView()->fnClose();
    EXPECT_EQ(fnView(), nullptr);
    EXPECT_EQ(fnSetting("Layout"), "1,2,103,204");
    EXPECT_TRUE(q32CreateDumpWnd());
    EXPECT_NE(fnView(), nullptr);
}

TEST(DumpLayoutAtTheEnd, TheWindowSavesItsLayoutWhenTheLibraryIsDetached) {
    const auto world = q32HeadlessWorld();
    for (const LONG left : {11, 12}) {
        ASSERT_TRUE(q32Attach(world->fnPlatform()));
        ASSERT_TRUE(q32CreateDumpWnd());
        world->m_pWindows->fnGetDumpView()->fnMove({left, 0, left + 100, 100});
        q32Detach();
        EXPECT_EQ(world->m_pWindows->fnGetDumpView(), nullptr);
        EXPECT_NE(world->fnGetSettings()->find("Layout=" + std::to_string(left) + ",0,"),
                  std::string::npos);
    }
}

TEST(DumpLayoutAtTheEnd, AHostThatExitsWithoutDetachingExitsCleanly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            if (q32Attach(q32HeadlessWorld()->fnPlatform()) && q32CreateDumpWnd())
                std::exit(7); // NOLINT(concurrency-mt-unsafe): there is one thread
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(DumpLayout, ALayoutOfFewerNumbersFillsOnlyTheFirstFields) {
    EXPECT_EQ(fnPlaceOf("10,20"), kDefaultDumpPlace) << "an empty rectangle";
    EXPECT_EQ(fnPlaceOf("-50,-60"), CRect(-50, -60, 0, 0));
    EXPECT_EQ(fnPlaceOf("-50,-60,40"), CRect(-50, -60, 40, 0));
}

TEST_F(DumpLayout, ALayoutOfMoreNumbersStopsAtFour) {
    EXPECT_EQ(fnPlaceOf("1,2,103,204,5,6,7,8,9"), CRect(1, 2, 103, 204));
    EXPECT_EQ(fnPlaceOf("1,2,103,204,"), CRect(1, 2, 103, 204));
    std::string commas(250, ',');
    EXPECT_EQ(fnPlaceOf(commas), kDefaultDumpPlace);
    EXPECT_EQ(fnPlaceOf("1,2,103,204" + commas), CRect(1, 2, 103, 204));
}

TEST_F(DumpLayout, AHostileLayoutIsHarmless) {
    for (const char* layout :
         {"", " ", "x", "x,y,z,w", "5,5,5,5", "10,10,5,5", "0x10,0,0x20,9", ",,,", "1;2;3;4"})
        EXPECT_EQ(fnPlaceOf(layout), kDefaultDumpPlace) << layout;
    // Numbers wrap, sizes wrap, and the window stays where windows can be.
    for (const char* layout :
         {"-2147483648,-2147483648,2147483647,2147483647", "0,0,2147483647,2147483647",
          "-2147483648,0,-2147483647,1", "99999999999999999999,0,99999999999999999999999,1"}) {
        const CRect place = fnPlaceOf(layout);
        EXPECT_GE(place.Width(), 0) << layout;
        EXPECT_LE(place.Width(), 32767) << layout;
        EXPECT_LE(place.right, 2 * 32767) << layout;
        EXPECT_GE(place.left, -32767) << layout;
    }
    EXPECT_EQ(fnPlaceOf(" 1 , 2 ,103 x,204y"), CRect(1, 2, 103, 204));
}

namespace {

/// A locale with a lead byte that accepts any trail byte, a comma included.
class GreedyLocale : public CqLocaleService {
public:
    std::size_t fnGetCharBytes(const char* text, std::size_t count) override {
        return *text == '\x83' && count > 1 ? 2 : 1;
    }
    bool fnFormatDate(const SYSTEMTIME&, std::string&) override { return false; }
    bool fnFormatTime(const SYSTEMTIME&, UINT, std::string&) override { return false; }
    bool fnGetLocalTime(std::int64_t, SYSTEMTIME&) override { return false; }
};

} // namespace

TEST(DumpLayoutOfCharacters, ACommaInsideACharacterSeparatesNothing) {
    const auto world = q32HeadlessWorld();
    CqPlatform platform = world->fnPlatform();
    platform.m_pLocale = std::make_shared<GreedyLocale>();
    world->fnSetSettings("[DumpWnd]\r\nLayout=1\x83,9,2,103,204\r\n");
    ASSERT_TRUE(q32Attach(platform));
    ASSERT_TRUE(q32CreateDumpWnd());
    EXPECT_EQ(CRect(world->m_pWindows->fnGetDumpView()->fnGetPlace()), CRect(1, 2, 103, 204));
    q32Detach();
}

TEST_F(DumpLayout, ALayoutIsReadUpTo259Bytes) {
    EXPECT_EQ(fnPlaceOf("1,2,103," + std::string(248, '0') + "204"), CRect(1, 2, 103, 204));
    EXPECT_EQ(fnPlaceOf("1,2,103," + std::string(249, '0') + "204"), CRect(1, 2, 103, 20));
    EXPECT_EQ(fnPlaceOf("1,2,103," + std::string(300, '0') + "204"), kDefaultDumpPlace);
}

TEST_F(DumpLayout, ALongFolderIsReadCompletely) {
    const std::string folder = "C:\\" + std::string(250, 'a') + "\\" + std::string(260, 'b') + "\\";
    fnOpen("PrefDir=" + folder + "\r\n");
    EXPECT_TRUE(fnView()->fnChoose(16));
    EXPECT_EQ(fnGetDesk().fnGetSaveDialogs().back().m_Folder, folder);
    q32DestroyDumpWnd();
    EXPECT_EQ(fnSetting("PrefDir"), folder);
}

TEST_F(DumpLayout, AnUnwritableFolderIsHarmless) {
    m_World->fnSetSettings("[DumpWnd]\r\nLayout=1,2,103,204\r\n");
    ASSERT_TRUE(q32CreateDumpWnd());
    fnView()->fnMove({5, 6, 107, 208});
    m_World->m_pFiles->m_UpdateText.fnFail(1, CqHeadlessCalls::kForever);
    q32DestroyDumpWnd();
    EXPECT_EQ(fnView(), nullptr);
    EXPECT_TRUE(fnGetBoxes().empty());
    EXPECT_EQ(fnSetting("Layout"), "1,2,103,204");
}

TEST_F(DumpLayout, AnUnreadableSettingsFileCountsAsOneWithoutKeys) {
    m_World->fnSetSettings("[DumpWnd]\r\nLayout=1,2,103,204\r\nOnTop=0\r\n");
    m_World->m_pFiles->m_ReadText.fnFail(1, CqHeadlessCalls::kForever);
    ASSERT_TRUE(q32CreateDumpWnd());
    EXPECT_EQ(CRect(fnView()->fnGetPlace()), kDefaultDumpPlace);
    EXPECT_TRUE(fnView()->fnIsOnTop());
}
