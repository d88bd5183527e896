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

using DumpWnd = DumpTest;

} // namespace

TEST_F(DumpWnd, TheWindowIsCreatedWithItsCaptionMenuAndPrompts) {
    ASSERT_TRUE(q32CreateDumpWnd());
    const CqHeadlessDumpView& view = *fnView();
    EXPECT_EQ(view.fnGetCaption(), "Dump Window");
    EXPECT_TRUE(view.fnIsShown());
    EXPECT_TRUE(view.fnIsOnTop());
    EXPECT_EQ(view.fnGetStatusText(), "Ready");
    EXPECT_EQ(view.fnGetText(), "");
    EXPECT_EQ(CRect(view.fnGetPlace()), kDefaultDumpPlace);
    EXPECT_EQ(view.fnGetMenu(),
              (std::vector<MenuItem>{
                  {kSave, "Sa&ve...", "Save the content of this window", false},
                  {kOnTop, "Al&ways On Top", "Places the window above all other windows", true},
                  {}}));
}

TEST_F(DumpWnd, AHighlightedItemShowsItsPromptInTheStatusBar) {
    CqHeadlessDumpView& view = fnOpen();
    view.fnHighlight(kSave);
    EXPECT_EQ(view.fnGetStatusText(), "Save the content of this window");
    view.fnHighlight(kOnTop);
    EXPECT_EQ(view.fnGetStatusText(), "Places the window above all other windows");
    view.fnHighlight(0);
    EXPECT_EQ(view.fnGetStatusText(), "Ready");
}

TEST_F(DumpWnd, ASecondWindowIsNotCreated) {
    ASSERT_TRUE(q32CreateDumpWnd());
    const CqHeadlessDumpView* view = fnView();
    EXPECT_TRUE(q32CreateDumpWnd());
    EXPECT_EQ(fnView(), view);
    EXPECT_EQ(fnGetDesk().m_Create.fnGetCount(), 1u);
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
    CqHeadlessDumpView& view = fnOpen("Layout=0,0,84,66\r\n"); // 14 x 6 cells
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

TEST_F(DumpWnd, ClearingAStreamThatHasWrittenNothingEmptiesTheWindow) {
    CqHeadlessDumpView& view = fnOpen();
    OpenDumpBin writer;
    OpenDumpBin silent;
    writer << "text";
    silent.fnClear();
    EXPECT_EQ(view.fnGetText(), "");
    EXPECT_EQ(silent.m_pBuffer, nullptr);
    writer << "!";
    EXPECT_EQ(view.fnGetText(), "text!");
}

TEST_F(DumpWnd, TheLastStreamToWriteIsShown) {
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

TEST_F(DumpWnd, AWindowCreatedLaterShowsTheWholeStreamAtItsNextOutput) {
    OpenDumpBin dump;
    dump << "before ";
    CqHeadlessDumpView& view = fnOpen();
    EXPECT_EQ(view.fnGetText(), "");
    dump << "after";
    EXPECT_EQ(view.fnGetText(), "before after");
}

TEST_F(DumpWnd, AStreamAtADestroyedOnesAddressDoesNotContinueItsText) {
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
    EXPECT_EQ(fnGetDesk().m_nTextBytes, dump.m_nLength);
    EXPECT_EQ(fnGetDesk().m_SetText.fnGetCount(), 1u);
    EXPECT_TRUE(view.fnGetText() == dump.fnGetText());
}

TEST_F(DumpWnd, AWindowThatCannotAppendGetsTheCompleteTextEachTime) {
    CqHeadlessDumpView& view = fnOpen();
    fnGetDesk().m_bAppends = false;
    OpenDumpBin dump;
    std::uint64_t bytes = 0;
    for (int i = 0; i < 50; ++i) {
        dump << "some text\n";
        bytes += dump.m_nLength;
        EXPECT_EQ(view.fnGetText(), dump.fnGetText());
    }
    EXPECT_EQ(fnGetDesk().m_nTextBytes, bytes);
}

TEST_F(DumpWnd, AWindowWithoutMemoryCatchesUpAtTheNextOutput) {
    CqHeadlessDumpView& view = fnOpen();
    OpenDumpBin dump;
    dump << "one ";
    fnGetDesk().m_AppendText.fnFail();
    dump << "two ";
    EXPECT_EQ(view.fnGetText(), "one ") << "the stream goes on";
    EXPECT_EQ(dump.fnGetText(), "one two ");
    dump << "three";
    EXPECT_EQ(view.fnGetText(), "one two three");
    dump.fnClear();
    fnGetDesk().m_SetText.fnFail();
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

TEST_F(DumpWnd, AWindowThatCannotBeCreatedIsReportedOnlyByTheResult) {
    fnGetDesk().m_Create.fnFail();
    EXPECT_FALSE(q32CreateDumpWnd());
    EXPECT_TRUE(fnGetBoxes().empty());
    EXPECT_EQ(fnView(), nullptr);
    EXPECT_TRUE(q32CreateDumpWnd());
}

TEST_F(DumpWnd, APartThatCannotBeCreatedIsReportedByAMessage) {
    for (CqHeadlessCalls* calls : {&fnGetDesk().m_CreateText, &fnGetDesk().m_CreateStatusBar}) {
        m_World->m_pMessages->fnClearBoxes();
        calls->fnFail();
        EXPECT_FALSE(q32CreateDumpWnd());
        EXPECT_EQ(fnView(), nullptr);
        ASSERT_EQ(fnGetBoxes().size(), 1u);
        EXPECT_EQ(fnGetBoxes()[0].m_szText, kMemoryText);
        EXPECT_EQ(m_World->fnGetSettings(), std::nullopt) << "it was never a window";
    }
    EXPECT_TRUE(q32CreateDumpWnd());
}

TEST_F(DumpWnd, TheTextHasTheFontOfIconTitles) {
    m_World->m_pScreen->fnSetIconTitleHeight(22);
    CqHeadlessDumpView& view = fnOpen("Layout=0,0,84,77\r\n"); // 14 x 7 cells
    EXPECT_EQ(view.fnGetFont().fnGetMetrics().tmHeight, 22);
    CqDumpBin dump;
    dump << "first line\n2\n3";
    EXPECT_EQ(view.fnGetCells(),
              (std::vector<std::string>{"Dump Window   ", "first l", "2      ", "Ready         "}))
        << "seven cells of twelve pixels, and two and a half rows";
}

TEST_F(DumpWnd, WithoutTheFontTheWindowIsStillCreated) {
    m_World->m_pScreen->fnSetIconTitleHeight(22);
    CqHeadlessPaintCalls& paint = m_World->m_pScreen->m_Paint;
    for (CqHeadlessCalls* calls : {&paint.m_IconTitleFont, &paint.m_CreateFont}) {
        calls->fnFail();
        EXPECT_EQ(fnOpen().fnGetFont().fnGetMetrics().tmHeight, 11);
        EXPECT_TRUE(fnView()->fnIsShown());
        EXPECT_TRUE(fnGetBoxes().empty());
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
        ASSERT_EQ(fnGetBoxes().size(), created ? 0u : 1u);
        EXPECT_TRUE(created || fnGetBoxes()[0].m_szText == kMemoryText);
        q32DestroyDumpWnd();
    });
    EXPECT_GT(refused, 4u);
    EXPECT_GT(failures, refused) << "reading the settings is done without";
}

TEST_F(DumpWnd, DestroyingWithoutMemoryLosesOnlyTheLayout) {
    for (std::size_t nth = 1; nth <= 40; ++nth) {
        ASSERT_TRUE(q32CreateDumpWnd());
        CqAllocationFailure failure(nth, true);
        q32DestroyDumpWnd();
        failure.fnEnd();
        EXPECT_EQ(fnView(), nullptr);
    }
}

namespace {

/// A view with the mandatory functions only, which runs out of memory when it is to report its
/// position.
class BareView : public CqDumpView {
public:
    BareView(std::string& text, CqDumpViewEvents& events) : m_Text(text), m_Events(events) {}
    bool fnChoose(UINT id) { return m_Events.fnOnSysCommand(id); }
    unsigned m_nRaised = 0; ///< how often the window was raised

    bool fnCreateText() override { return true; }
    bool fnCreateStatusBar() override { return true; }
    void fnSetFont(const CFont&) override {}
    void fnInsertMenuItem(const CqDumpMenuItem&) override {}
    void fnCheckMenuItem(UINT, bool) override {}
    void fnSetOnTop(bool onTop) override {
        if (!onTop)
            throw std::bad_alloc();
        ++m_nRaised;
    }
    void fnShow() override {}
    RECT fnGetPlace() const override { throw std::bad_alloc(); }
    void fnSetText(const char* text, std::size_t length) override { m_Text.assign(text, length); }
    std::string fnGetText() const override { return m_Text; }
    bool fnAskSaveName(const CqSaveRequest&, std::string&) override { return false; }

private:
    std::string& m_Text;
    CqDumpViewEvents& m_Events;
};

class BareWindows : public CqWindowService {
public:
    std::string m_Text;

    CWinApp* fnGetApp() override { return nullptr; }
    CWnd* fnGetMainWnd() override { return nullptr; }
    std::unique_ptr<CqDumpView> fnCreateDumpView(const CqDumpViewSetup& setup,
                                                 CqDumpViewEvents& events) override {
        // The default of the window service creates no view.
        EXPECT_EQ(CqWindowService::fnCreateDumpView(setup, events), nullptr);
        if (!m_bHasView)
            return nullptr;
        auto view = std::make_unique<BareView>(m_Text, events);
        m_pView = view.get();
        return view;
    }
    BareView* m_pView = nullptr; ///< the last one
    bool m_bHasView = true;
};

} // namespace

TEST(DumpWndOfABareView, ShowsTheTextAndLosesOnlyItsLayout) {
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
    EXPECT_EQ(windows->m_pView->m_nRaised, 1u);
    for (std::size_t failures = 1; failures <= 2; ++failures) {
        EXPECT_TRUE(windows->m_pView->fnChoose(kOnTop));
        EXPECT_EQ(world->m_pMessages->fnGetBoxes().size(), failures);
    }
    EXPECT_EQ(windows->m_pView->m_nRaised, 1u) << "it stayed above the others";
    q32DestroyDumpWnd();
    EXPECT_EQ(world->fnGetSettings(), std::nullopt);
    q32Detach();
}
