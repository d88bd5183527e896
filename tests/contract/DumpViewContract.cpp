#include "q32Base/framework/CFont.h"
#include "tests/contract/ContractBackEnd.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

/// The dump window's view.
class DumpViewContract : public AttachedContractTest {
protected:
    struct Events final : CqDumpViewEvents {
        bool fnOnSysCommand(UINT id) override {
            m_Chosen.push_back(id);
            if (m_OnChosen)
                m_OnChosen();
            return true;
        }
        void fnOnClose() override {
            ++m_nClosed;
            if (m_OnClosed)
                m_OnClosed();
        }
        std::vector<UINT> m_Chosen;
        int m_nClosed = 0;
        std::function<void()> m_OnChosen;
        std::function<void()> m_OnClosed;
    };
    using Items = std::vector<ContractDump::Item>;

    void TearDown() override {
        m_pView.reset();
        AttachedContractTest::TearDown();
    }
    /// Creates the view with all its parts.
    void fnMake(std::optional<RECT> place = std::nullopt) {
        m_pView = m_Windows.fnCreateDumpView({"Log & more", place, "Ready"}, m_Events);
        ASSERT_NE(m_pView, nullptr);
        ASSERT_TRUE(m_pView->fnCreateText());
        ASSERT_TRUE(m_pView->fnCreateStatusBar());
    }
    void fnSetText(const std::string& text) { m_pView->fnSetText(text.data(), text.size()); }
    /// As the library appends text.
    void fnAppend(const std::string& text) {
        const std::string before = m_pView->fnGetText();
        if (m_pView->fnAppendText(text.data(), text.size()))
            return;
        EXPECT_EQ(m_pView->fnGetText(), before) << "a view that can't changes nothing";
        fnSetText(before + text);
    }
    static constexpr CqSaveRequest kRequest{"txt", 0, "Text files\0*.txt\0All files\0*.*\0",
                                            nullptr};

    CqWindowService& m_Windows = *m_World.m_Platform.m_pWindows;
    ContractDump& m_Dump = *m_World.m_pDump;
    Events m_Events;
    std::unique_ptr<CqDumpView> m_pView;
};

TEST_P(DumpViewContract, TheFrameIsMadeWithItsCaptionAndShownLater) {
    EXPECT_FALSE(m_Dump.fnStands());
    ASSERT_NO_FATAL_FAILURE(fnMake());
    ASSERT_TRUE(m_Dump.fnStands());
    EXPECT_FALSE(m_Dump.fnIsShown());
    EXPECT_EQ(m_Dump.fnGetCaption(), "Log & more");
    m_pView->fnShow();
    EXPECT_TRUE(m_Dump.fnIsShown());
}

TEST_P(DumpViewContract, TheDestructorEndsTheWindowWithoutAnEvent) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnShow();
    m_pView.reset();
    EXPECT_FALSE(m_Dump.fnStands());
    EXPECT_EQ(m_Events.m_nClosed, 0);
    EXPECT_TRUE(m_Events.m_Chosen.empty());
}

TEST_P(DumpViewContract, TheFrameAloneMayEnd) {
    m_pView = m_Windows.fnCreateDumpView({"Log", std::nullopt, "Ready"}, m_Events);
    ASSERT_NE(m_pView, nullptr);
    EXPECT_TRUE(m_Dump.fnStands());
    m_pView.reset();
    EXPECT_FALSE(m_Dump.fnStands());
    EXPECT_EQ(m_Events.m_nClosed, 0);
}

TEST_P(DumpViewContract, TheUserClosesItWithOneEvent) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnShow();
    m_Events.m_OnClosed = [this] { m_pView.reset(); };
    m_Dump.fnClose();
    EXPECT_EQ(m_Events.m_nClosed, 1);
    EXPECT_FALSE(m_Dump.fnStands());
}

TEST_P(DumpViewContract, TheTextIsWhatWasSetLast) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    EXPECT_EQ(m_pView->fnGetText(), "");
    EXPECT_EQ(m_Dump.fnGetLines(), std::vector<std::string>{""});
    fnSetText("one\r\ntwo\r\n");
    EXPECT_EQ(m_pView->fnGetText(), "one\r\ntwo\r\n");
    EXPECT_EQ(m_Dump.fnGetLines(), (std::vector<std::string>{"one", "two", ""}));
    fnSetText("three");
    EXPECT_EQ(m_pView->fnGetText(), "three");
    EXPECT_EQ(m_Dump.fnGetLines(), std::vector<std::string>{"three"});
    fnSetText("");
    EXPECT_EQ(m_pView->fnGetText(), "");
    EXPECT_EQ(m_Dump.fnGetLines(), std::vector<std::string>{""});
}

TEST_P(DumpViewContract, OnlyTheCountedBytesBecomeText) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnSetText("abcdef", 3);
    EXPECT_EQ(m_pView->fnGetText(), "abc");
    EXPECT_EQ(m_Dump.fnGetLines(), std::vector<std::string>{"abc"});
}

TEST_P(DumpViewContract, AppendedTextFollowsTheExistingText) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    fnAppend("one\r\n");
    fnAppend("two ");
    fnAppend("");
    fnAppend("& more\r\n\r\nend");
    EXPECT_EQ(m_pView->fnGetText(), "one\r\ntwo & more\r\n\r\nend");
    EXPECT_EQ(m_Dump.fnGetLines(), (std::vector<std::string>{"one", "two & more", "", "end"}));
    fnSetText("new\r\n");
    fnAppend("line");
    EXPECT_EQ(m_Dump.fnGetLines(), (std::vector<std::string>{"new", "line"}));
}

TEST_P(DumpViewContract, ALongLogIsTheSameBySettingAndByAppending) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    std::string all;
    std::vector<std::string> lines;
    for (int i = 0; i < 500; ++i) {
        lines.push_back("line " + std::to_string(i) +
                        std::string(static_cast<std::size_t>(i % 90), '.'));
        all += lines.back() + "\r\n";
        fnAppend(lines.back() + "\r\n");
    }
    lines.emplace_back();
    EXPECT_EQ(m_pView->fnGetText(), all);
    EXPECT_EQ(m_Dump.fnGetLines(), lines);
    fnSetText(all);
    EXPECT_EQ(m_pView->fnGetText(), all);
    EXPECT_EQ(m_Dump.fnGetLines(), lines);
}

TEST_P(DumpViewContract, ANewItemIsAtTheTopOfTheMenu) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    EXPECT_EQ(m_Dump.fnGetMenu(), Items());
    m_pView->fnInsertMenuItem({});
    m_pView->fnInsertMenuItem({32, "Al&ways", "Above all"});
    m_pView->fnInsertMenuItem({16, "&Save...", "Saves it"});
    EXPECT_EQ(m_Dump.fnGetMenu(), (Items{{"&Save...", false}, {"Al&ways", false}, {"", false}}));
}

TEST_P(DumpViewContract, AnItemIsCheckedAndUncheckedByItsId) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnInsertMenuItem({32, "B", "b"});
    m_pView->fnInsertMenuItem({16, "A", "a"});
    m_pView->fnCheckMenuItem(32, true);
    EXPECT_EQ(m_Dump.fnGetMenu(), (Items{{"A", false}, {"B", true}}));
    m_pView->fnCheckMenuItem(32, true);
    m_pView->fnCheckMenuItem(48, true); // no such item
    EXPECT_EQ(m_Dump.fnGetMenu(), (Items{{"A", false}, {"B", true}}));
    m_pView->fnCheckMenuItem(32, false);
    EXPECT_EQ(m_Dump.fnGetMenu(), (Items{{"A", false}, {"B", false}}));
}

TEST_P(DumpViewContract, AChosenItemIsReportedByItsIdAndStaysCheckedAsItWas) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnInsertMenuItem({32, "B", "b"});
    m_pView->fnInsertMenuItem({16, "A", "a"});
    m_pView->fnCheckMenuItem(32, true);
    m_pView->fnShow();
    m_Dump.fnChoose("B");
    m_Dump.fnChoose("A");
    m_Dump.fnChoose("B");
    EXPECT_EQ(m_Events.m_Chosen, (std::vector<UINT>{32, 16, 32}));
    EXPECT_EQ(m_Dump.fnGetMenu(), (Items{{"A", false}, {"B", true}}));
}

TEST_P(DumpViewContract, TheViewMayEndWhileAChosenItemIsReported) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnInsertMenuItem({16, "A", "a"});
    m_pView->fnShow();
    m_Events.m_OnChosen = [this] { m_pView.reset(); };
    m_Dump.fnChoose("A");
    EXPECT_EQ(m_Events.m_Chosen, std::vector<UINT>{16});
    EXPECT_FALSE(m_Dump.fnStands());
}

TEST_P(DumpViewContract, TheStatusBarShowsTheHighlightedItemsPromptOrTheIdleOne) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnInsertMenuItem({32, "B", "Does b"});
    m_pView->fnInsertMenuItem({16, "A", "Does a"});
    m_pView->fnShow();
    EXPECT_EQ(m_Dump.fnGetStatus(""), "Ready");
    EXPECT_EQ(m_Dump.fnGetStatus("A"), "Does a");
    EXPECT_EQ(m_Dump.fnGetStatus("B"), "Does b");
    EXPECT_EQ(m_Dump.fnGetStatus(""), "Ready");
}

TEST_P(DumpViewContract, ItStaysWhereItWasPlacedUntilItIsMoved) {
    const CRect place(60, 70, 460, 370);
    ASSERT_NO_FATAL_FAILURE(fnMake(place));
    EXPECT_EQ(CRect(m_pView->fnGetPlace()), place);
}

TEST_P(DumpViewContract, APositionMayBeAnyNumbers) {
    const LONG kNumbers[] = {INT32_MIN, -1, 0, 5, INT32_MAX};
    for (const LONG left : kNumbers)
        for (const LONG right : kNumbers) {
            ASSERT_NO_FATAL_FAILURE(fnMake(RECT{left, right, right, left}));
            m_pView->fnShow();
            const RECT place = m_pView->fnGetPlace();
            EXPECT_GE(place.right, place.left);
            EXPECT_GE(place.bottom, place.top);
            EXPECT_LE(std::int64_t{place.right} - place.left, 0x10000);
            EXPECT_LE(std::int64_t{place.bottom} - place.top, 0x10000);
            m_pView.reset();
        }
}

TEST_P(DumpViewContract, OnTopItIsNotMovedResizedOrHidden) {
    const CRect place(60, 70, 460, 370);
    ASSERT_NO_FATAL_FAILURE(fnMake(place));
    EXPECT_FALSE(m_Dump.fnIsOnTop());
    m_pView->fnSetOnTop(true);
    EXPECT_TRUE(m_Dump.fnIsOnTop());
    EXPECT_EQ(CRect(m_pView->fnGetPlace()), place);
    EXPECT_FALSE(m_Dump.fnIsShown());
    m_pView->fnShow();
    const CRect shown(m_pView->fnGetPlace());
    for (const bool onTop : {false, false, true}) {
        m_pView->fnSetOnTop(onTop);
        EXPECT_EQ(m_Dump.fnIsOnTop(), onTop);
        EXPECT_TRUE(m_Dump.fnIsShown());
        EXPECT_EQ(CRect(m_pView->fnGetPlace()).Size(), shown.Size());
    }
}

TEST_P(DumpViewContract, AFontChangesNoText) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    fnSetText("one\r\ntwo");
    LOGFONTA log{};
    ASSERT_TRUE(m_World.m_Platform.m_pScreen->fnGetIconTitleFont(log));
    log.lfHeight = 30;
    CFont font;
    ASSERT_TRUE(font.CreateFontIndirect(&log));
    m_pView->fnSetFont(font);
    m_pView->fnSetFont(CFont()); // a font that it can't show
    EXPECT_EQ(m_Dump.fnGetLines(), (std::vector<std::string>{"one", "two"}));
}

TEST_P(DumpViewContract, ItSavesToTheNameThatTheUserGives) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnShow();
    const std::string name = m_World.m_szDirectory + "log.dat";
    m_Dump.fnAnswerSave(name);
    std::string path;
    EXPECT_TRUE(m_pView->fnAskSaveName(kRequest, path));
    EXPECT_EQ(path, name);
}

TEST_P(DumpViewContract, ANameWithoutAnExtensionGetsTheDefaultOne) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnShow();
    m_Dump.fnAnswerSave(m_World.m_szDirectory + "log");
    std::string path;
    EXPECT_TRUE(m_pView->fnAskSaveName(kRequest, path));
    EXPECT_EQ(path, m_World.m_szDirectory + "log.txt");
}

TEST_P(DumpViewContract, ACancelledSaveLeavesTheName) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    m_pView->fnShow();
    m_Dump.fnAnswerSave(std::nullopt);
    std::string path = "as it was";
    EXPECT_FALSE(m_pView->fnAskSaveName(kRequest, path));
    EXPECT_EQ(path, "as it was");
    EXPECT_TRUE(m_Dump.fnStands());
}

TEST_P(DumpViewContract, ANewViewRemembersNothingOfTheLast) {
    ASSERT_NO_FATAL_FAILURE(fnMake());
    fnSetText("old");
    m_pView->fnInsertMenuItem({16, "A", "a"});
    m_pView->fnSetOnTop(true);
    m_pView.reset();
    ASSERT_NO_FATAL_FAILURE(fnMake());
    EXPECT_EQ(m_Dump.fnGetLines(), std::vector<std::string>{""});
    EXPECT_EQ(m_Dump.fnGetMenu(), Items());
    EXPECT_FALSE(m_Dump.fnIsOnTop());
    EXPECT_FALSE(m_Dump.fnIsShown());
}

} // namespace

Q32_CONTRACT(DumpViewContract, DUMP_VIEW);
