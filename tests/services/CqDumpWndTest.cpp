#include "tests/services/DumpTestTools.h"
#include "tests/support/FailingAllocator.h"

#include <memory>
#include <new>

namespace {

using MenuItem = CqHeadlessDumpView::MenuItem;

constexpr UINT kSave = 16;
constexpr UINT kOnTop = 32;
constexpr const char* kMemoryText =
    "Insufficient memory. Please close other programs\nto free up system resources.";

class DumpWnd : public DumpTest {
protected:
    std::string fnSetting(const char* key) const {
        const std::string text = m_World->fnGetSettings().value_or("");
        const std::string head = std::string(key) + "=";
        const std::size_t at = text.find(head);
        if (at == std::string::npos)
            return "(none)";
        return text.substr(at + head.size(), text.find('\r', at) - at - head.size());
    }
    /// Makes the window with these lines in its section of the settings.
    CqHeadlessDumpView& fnOpen(const std::string& lines = "") {
        q32DestroyDumpWnd();
        m_World->fnSetSettings("[DumpWnd]\r\n" + lines);
        EXPECT_TRUE(q32CreateDumpWnd());
        return *fnView();
    }
    CRect fnPlaceOf(const std::string& layout) {
        return fnOpen("Layout=" + layout + "\r\n").fnGetPlace();
    }
    const CRect m_DefaultPlace{22, 22, 22 + 480, 22 + 330};
};

} // namespace

TEST_F(DumpWnd, TheWindowIsMadeWithItsCaptionMenuAndPrompts) {
    ASSERT_TRUE(q32CreateDumpWnd());
    const CqHeadlessDumpView& view = *fnView();
    EXPECT_EQ(view.fnGetCaption(), "Dump Window");
    EXPECT_TRUE(view.fnIsShown());
    EXPECT_TRUE(view.fnIsOnTop());
    EXPECT_EQ(view.fnGetStatusText(), "Ready");
    EXPECT_EQ(view.fnGetText(), "");
    EXPECT_EQ(CRect(view.fnGetPlace()), m_DefaultPlace);
    EXPECT_EQ(view.fnGetMenu(),
              (std::vector<MenuItem>{
                  {kSave, "Sa&ve...", "Save the content of this window", false},
                  {kOnTop, "Al&ways On Top", "Places the window above all other windows", true},
                  {}}));
}

TEST_F(DumpWnd, AHighlightedItemHasItsPromptInTheStatusBar) {
    CqHeadlessDumpView& view = fnOpen();
    view.fnHighlight(kSave);
    EXPECT_EQ(view.fnGetStatusText(), "Save the content of this window");
    view.fnHighlight(kOnTop);
    EXPECT_EQ(view.fnGetStatusText(), "Places the window above all other windows");
    view.fnHighlight(0);
    EXPECT_EQ(view.fnGetStatusText(), "Ready");
}

TEST_F(DumpWnd, ASecondWindowIsNotMade) {
    ASSERT_TRUE(q32CreateDumpWnd());
    const CqHeadlessDumpView* view = fnView();
    EXPECT_TRUE(q32CreateDumpWnd());
    EXPECT_EQ(fnView(), view);
    EXPECT_EQ(fnDesk().m_Create.fnGetCount(), 1u);
}

TEST_F(DumpWnd, DestroyingWithoutAWindowDoesNothing) {
    q32DestroyDumpWnd();
    EXPECT_EQ(m_World->fnGetSettings(), std::nullopt);
    q32CreateDumpWnd();
    q32DestroyDumpWnd();
    EXPECT_EQ(fnView(), nullptr);
    q32DestroyDumpWnd();
}

TEST(DumpWndAlone, ThereIsNoWindowWhileTheLibraryIsNotAttached) {
    EXPECT_FALSE(q32CreateDumpWnd());
    q32DestroyDumpWnd();
    CqDumpBin dump;
    dump << "collected all the same";
}

TEST_F(DumpWnd, AStreamShowsItsTextAtOnce) {
    CqHeadlessDumpView& view = fnOpen();
    OpenDumpBin dump;
    dump << "one\n";
    EXPECT_EQ(view.fnGetText(), "one\r\n");
    dump << 2;
    EXPECT_EQ(view.fnGetText(), "one\r\n2");
    dump.fnClear();
    EXPECT_EQ(view.fnGetText(), "");
    dump << "three";
    EXPECT_EQ(view.fnGetText(), "three");
}

TEST_F(DumpWnd, ThePictureShowsCaptionTextAndStatus) {
    CqHeadlessDumpView& view = fnOpen("Layout=0,0,84,66\r\n"); // 14 cells by 6
    CqDumpBin dump;
    dump << "first line, a long one\n\tsecond\n3\n4\n5";
    EXPECT_EQ(view.fnGetCells(),
              (std::vector<std::string>{"Dump Window   ", "first line, a ", " second       ",
                                        "3             ", "4             ", "Ready         "}));
    view.fnScroll(3, 0);
    EXPECT_EQ(view.fnGetCells()[2], "5             ");
    EXPECT_EQ(view.fnGetCells()[3], "              ");
    view.fnScroll(0, 6);
    EXPECT_EQ(view.fnGetCells()[1], "line, a long o");
    EXPECT_EQ(view.fnGetCells()[3], "              ");
    view.fnMove({0, 0, 84, 11});
    EXPECT_EQ(view.fnGetCells(), (std::vector<std::string>{"Dump Window   "}));
    view.fnMove({0, 0, 84, 0});
    EXPECT_TRUE(view.fnGetCells().empty());
}

TEST_F(DumpWnd, TheLastStreamToWriteIsTheOneThatIsShown) {
    CqHeadlessDumpView& view = fnOpen();
    OpenDumpBin first;
    OpenDumpBin second;
    first << "first";
    second << "second";
    EXPECT_EQ(view.fnGetText(), "second");
    first << "+";
    EXPECT_EQ(view.fnGetText(), "first+");
    second << "+";
    EXPECT_EQ(view.fnGetText(), "second+");
    first.fnClear();
    EXPECT_EQ(view.fnGetText(), "");
}

TEST_F(DumpWnd, AWindowThatComesLaterShowsTheWholeStreamAtItsNextOutput) {
    OpenDumpBin dump;
    dump << "before ";
    CqHeadlessDumpView& view = fnOpen();
    EXPECT_EQ(view.fnGetText(), "");
    dump << "after";
    EXPECT_EQ(view.fnGetText(), "before after");
}

TEST_F(DumpWnd, AStreamInAnEndedOnesPlaceDoesNotContinueItsText) {
    CqHeadlessDumpView& view = fnOpen();
    alignas(OpenDumpBin) unsigned char place[sizeof(OpenDumpBin)];
    auto* ended = new (place) OpenDumpBin;
    *ended << "ended";
    ended->~OpenDumpBin();
    EXPECT_EQ(view.fnGetText(), "ended") << "it stays until another writes";
    q32DestroyDumpWnd();
    auto* next = new (place) OpenDumpBin;
    *next << "next";
    fnOpen();
    *next << "!";
    EXPECT_EQ(fnView()->fnGetText(), "next!");
    next->~OpenDumpBin();
}

TEST_F(DumpWnd, EachByteOfALongLogIsHandedToTheWindowOnce) {
    CqHeadlessDumpView& view = fnOpen();
    OpenDumpBin dump;
    const std::string line(99, 'x');
    const std::uint64_t bytes = 10 * 1024 * 1024;
    while (dump.m_nLength < bytes)
        dump << line.c_str() << "\n";
    EXPECT_EQ(fnDesk().m_nTextBytes, dump.m_nLength);
    EXPECT_EQ(fnDesk().m_SetText.fnGetCount(), 1u);
    EXPECT_TRUE(view.fnGetText() == dump.fnGetText());
}

TEST_F(DumpWnd, AWindowThatCantAppendIsGivenTheWholeTextEachTime) {
    CqHeadlessDumpView& view = fnOpen();
    fnDesk().m_bAppends = false;
    OpenDumpBin dump;
    std::uint64_t bytes = 0;
    for (int i = 0; i < 50; ++i) {
        dump << "some text\n";
        bytes += dump.m_nLength;
        EXPECT_EQ(view.fnGetText(), dump.fnGetText());
    }
    EXPECT_EQ(fnDesk().m_nTextBytes, bytes);
}

TEST_F(DumpWnd, AWindowWithoutMemoryCatchesUpAtTheNextOutput) {
    CqHeadlessDumpView& view = fnOpen();
    OpenDumpBin dump;
    dump << "one ";
    fnDesk().m_AppendText.fnFail();
    dump << "two ";
    EXPECT_EQ(view.fnGetText(), "one ") << "the stream goes on";
    EXPECT_EQ(dump.fnGetText(), "one two ");
    dump << "three";
    EXPECT_EQ(view.fnGetText(), "one two three");
    dump.fnClear();
    fnDesk().m_SetText.fnFail();
    dump << "new ";
    EXPECT_EQ(view.fnGetText(), "");
    dump << "text";
    EXPECT_EQ(view.fnGetText(), "new text");
}

TEST_F(DumpWnd, AlwaysOnTopIsSwitchedInTheMenu) {
    CqHeadlessDumpView& view = fnOpen();
    EXPECT_TRUE(view.fnChoose(kOnTop));
    EXPECT_FALSE(view.fnIsOnTop());
    EXPECT_FALSE(view.fnGetMenu()[1].m_bChecked);
    EXPECT_TRUE(view.fnChoose(kOnTop | 5)) << "the low four bits are the system's";
    EXPECT_TRUE(view.fnIsOnTop());
    EXPECT_TRUE(view.fnGetMenu()[1].m_bChecked);
    EXPECT_FALSE(view.fnChoose(0xF060)) << "others are the frame's";
    EXPECT_FALSE(view.fnChoose(0));
}

TEST_F(DumpWnd, TheOnTopStateComesFromTheSettings) {
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

TEST_F(DumpWnd, TheLayoutSurvivesInTheSettings) {
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

TEST_F(DumpWnd, AWindowThatTheUserClosesSavesItsLayoutAndCanBeMadeAgain) {
    fnOpen().fnMove({1, 2, 103, 204});
    fnView()->fnClose();
    EXPECT_EQ(fnView(), nullptr);
    EXPECT_EQ(fnSetting("Layout"), "1,2,103,204");
    EXPECT_TRUE(q32CreateDumpWnd());
    EXPECT_NE(fnView(), nullptr);
}

TEST(DumpWndAtTheEnd, TheWindowSavesItsLayoutWhenTheLibraryIsDetached) {
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

TEST_F(DumpWnd, ALayoutOfFewerNumbersFillsTheFirstFieldsAlone) {
    EXPECT_EQ(fnPlaceOf("10,20"), m_DefaultPlace) << "an empty rectangle";
    EXPECT_EQ(fnPlaceOf("-50,-60"), CRect(-50, -60, 0, 0));
    EXPECT_EQ(fnPlaceOf("-50,-60,40"), CRect(-50, -60, 40, 0));
}

TEST_F(DumpWnd, ALayoutOfMoreNumbersStopsAtFour) {
    EXPECT_EQ(fnPlaceOf("1,2,103,204,5,6,7,8,9"), CRect(1, 2, 103, 204));
    EXPECT_EQ(fnPlaceOf("1,2,103,204,"), CRect(1, 2, 103, 204));
    std::string commas(250, ',');
    EXPECT_EQ(fnPlaceOf(commas), m_DefaultPlace);
    EXPECT_EQ(fnPlaceOf("1,2,103,204" + commas), CRect(1, 2, 103, 204));
}

TEST_F(DumpWnd, AHostileLayoutDoesNoHarm) {
    for (const char* layout :
         {"", " ", "x", "x,y,z,w", "5,5,5,5", "10,10,5,5", "0x10,0,0x20,9", ",,,", "1;2;3;4"})
        EXPECT_EQ(fnPlaceOf(layout), m_DefaultPlace) << layout;
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

TEST_F(DumpWnd, CommasAreLookedForByCharacters) {
    m_World->m_pLocale->fnSetCodePage(932);
    EXPECT_EQ(fnPlaceOf("1\x83\x5c,2,103,204"), CRect(1, 2, 103, 204));
}

TEST_F(DumpWnd, AFolderThatCantBeWrittenToDoesNoHarm) {
    m_World->fnSetSettings("[DumpWnd]\r\nLayout=1,2,103,204\r\n");
    ASSERT_TRUE(q32CreateDumpWnd());
    fnView()->fnMove({5, 6, 107, 208});
    m_World->m_pFiles->m_UpdateText.fnFail(1, CqHeadlessCalls::kForever);
    q32DestroyDumpWnd();
    EXPECT_EQ(fnView(), nullptr);
    EXPECT_TRUE(fnBoxes().empty());
    EXPECT_EQ(fnSetting("Layout"), "1,2,103,204");
}

TEST_F(DumpWnd, AnUnreadableSettingsFileIsOneWithoutKeys) {
    m_World->fnSetSettings("[DumpWnd]\r\nLayout=1,2,103,204\r\nOnTop=0\r\n");
    m_World->m_pFiles->m_ReadText.fnFail(1, CqHeadlessCalls::kForever);
    ASSERT_TRUE(q32CreateDumpWnd());
    EXPECT_EQ(CRect(fnView()->fnGetPlace()), m_DefaultPlace);
    EXPECT_TRUE(fnView()->fnIsOnTop());
}

TEST_F(DumpWnd, AWindowThatCantBeMadeIsToldByTheResultAlone) {
    fnDesk().m_Create.fnFail();
    EXPECT_FALSE(q32CreateDumpWnd());
    EXPECT_TRUE(fnBoxes().empty());
    EXPECT_EQ(fnView(), nullptr);
    EXPECT_TRUE(q32CreateDumpWnd());
}

TEST_F(DumpWnd, APartThatCantBeMadeIsToldByAMessage) {
    for (CqHeadlessCalls* calls : {&fnDesk().m_CreateText, &fnDesk().m_CreateStatusBar}) {
        m_World->m_pMessages->fnClearBoxes();
        calls->fnFail();
        EXPECT_FALSE(q32CreateDumpWnd());
        EXPECT_EQ(fnView(), nullptr);
        ASSERT_EQ(fnBoxes().size(), 1u);
        EXPECT_EQ(fnBoxes()[0].m_szText, kMemoryText);
        EXPECT_EQ(m_World->fnGetSettings(), std::nullopt) << "it was never a window";
    }
    EXPECT_TRUE(q32CreateDumpWnd());
}

TEST_F(DumpWnd, TheTextHasTheFontOfIconTitles) {
    m_World->m_pScreen->fnSetIconTitleHeight(22);
    CqHeadlessDumpView& view = fnOpen("Layout=0,0,84,77\r\n"); // 14 cells by 7
    EXPECT_EQ(view.fnGetFont().fnGetMetrics().tmHeight, 22);
    CqDumpBin dump;
    dump << "first line\n2\n3";
    EXPECT_EQ(view.fnGetCells(),
              (std::vector<std::string>{"Dump Window   ", "first l", "2      ", "Ready         "}))
        << "seven cells of twelve pixels, and two and a half rows";
}

TEST_F(DumpWnd, WithoutTheFontTheWindowStandsAllTheSame) {
    m_World->m_pScreen->fnSetIconTitleHeight(22);
    CqHeadlessPaintCalls& paint = m_World->m_pScreen->m_Paint;
    for (CqHeadlessCalls* calls : {&paint.m_IconTitleFont, &paint.m_CreateFont}) {
        calls->fnFail();
        EXPECT_EQ(fnOpen().fnGetFont().fnGetMetrics().tmHeight, 11);
        EXPECT_TRUE(fnView()->fnIsShown());
        EXPECT_TRUE(fnBoxes().empty());
    }
    fnView()->fnSetFont(CFont());
    EXPECT_EQ(fnView()->fnGetFont().fnGetMetrics().tmHeight, 11) << "no font is passed over";
}

TEST_F(DumpWnd, CreatingWithoutMemoryShowsAMessageAndLeavesNoWindow) {
    m_World->fnSetSettings("[DumpWnd]\r\nPrefDir=C:\\a folder with a long name\\\r\n");
    std::size_t refused = 0;
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        m_World->m_pMessages->fnClearBoxes();
        const bool created = q32CreateDumpWnd();
        failure.fnEnd();
        refused += created ? 0 : 1;
        EXPECT_EQ(fnView() != nullptr, created);
        ASSERT_EQ(fnBoxes().size(), created ? 0u : 1u);
        EXPECT_TRUE(created || fnBoxes()[0].m_szText == kMemoryText);
        q32DestroyDumpWnd();
    });
    EXPECT_GT(refused, 4u);
    EXPECT_GT(failures, refused) << "reading the settings is done without";
}

TEST_F(DumpWnd, DestroyingWithoutMemoryLosesTheLayoutAlone) {
    for (std::size_t nth = 1; nth <= 40; ++nth) {
        ASSERT_TRUE(q32CreateDumpWnd());
        CqAllocationFailure failure(nth, true);
        q32DestroyDumpWnd();
        failure.fnEnd();
        EXPECT_EQ(fnView(), nullptr);
    }
}

namespace {

/// A view that can do no more than it must, and has no memory to tell its place.
class BareView : public CqDumpView {
public:
    explicit BareView(std::string& text) : m_Text(text) {}

    bool fnCreateText() override { return true; }
    bool fnCreateStatusBar() override { return true; }
    void fnSetFont(const CFont&) override {}
    void fnInsertMenuItem(const CqDumpMenuItem&) override {}
    void fnCheckMenuItem(UINT, bool) override {}
    void fnSetOnTop(bool) override {}
    void fnShow() override {}
    RECT fnGetPlace() const override { throw std::bad_alloc(); }
    void fnSetText(const char* text, std::size_t length) override { m_Text.assign(text, length); }
    std::string fnGetText() const override { return m_Text; }
    bool fnAskSaveName(const CqSaveRequest&, std::string&) override { return false; }

private:
    std::string& m_Text;
};

class BareWindows : public CqWindowService {
public:
    std::string m_Text;

    CWinApp* fnGetApp() override { return nullptr; }
    CWnd* fnGetMainWnd() override { return nullptr; }
    std::unique_ptr<CqDumpView> fnCreateDumpView(const CqDumpViewSetup& setup,
                                                 CqDumpViewEvents& events) override {
        // Without a view of its own, a window service has none.
        EXPECT_EQ(CqWindowService::fnCreateDumpView(setup, events), nullptr);
        return m_bHasView ? std::make_unique<BareView>(m_Text) : nullptr;
    }
    bool m_bHasView = true;
};

} // namespace

TEST(DumpWndOfABareView, ShowsTheTextAndLosesNoMoreThanItsLayout) {
    const auto world = q32HeadlessWorld();
    const auto windows = std::make_shared<BareWindows>();
    CqPlatform platform = world->fnPlatform();
    platform.m_pWindows = windows;
    ASSERT_TRUE(q32Attach(platform));
    windows->m_bHasView = false;
    EXPECT_FALSE(q32CreateDumpWnd());
    EXPECT_TRUE(world->m_pMessages->fnGetBoxes().empty()) << "the result alone tells";
    windows->m_bHasView = true;
    EXPECT_TRUE(q32CreateDumpWnd());
    {
        CqDumpBin dump;
        dump << "one " << 2;
    }
    EXPECT_EQ(windows->m_Text, "one 2");
    q32DestroyDumpWnd();
    EXPECT_EQ(world->fnGetSettings(), std::nullopt);
    q32Detach();
}
