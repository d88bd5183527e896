#include "q32Base/messages/Messages.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

class TitleSwap : public ::testing::Test {
protected:
    TitleSwap() {
        m_App.m_pszAppName = kName;
        m_World.m_pWindows->m_pApp = &m_App;
        m_World.m_pWindows->m_pMainWnd = &m_Wnd;
    }
    std::optional<std::string> fnShownCaption() {
        q32ShowMsgStr("text", 0);
        return m_World.m_pMessages->m_Boxes.back().m_Caption;
    }

    static constexpr const char* kName = "app.exe";
    CqFakeWorld m_World;
    CqFakeApp m_App;
    CqFakeWnd m_Wnd;
};

} // namespace

TEST_F(TitleSwap, ABoxHasTheTitleOfTheFirstDocumentTemplate) {
    m_App.m_Title = "Picture Editor";
    EXPECT_EQ(fnShownCaption(), "Picture Editor");
    EXPECT_EQ(m_App.m_pszAppName, kName);
}

TEST_F(TitleSwap, AllThreeFunctionsSwap) {
    m_App.m_Title = "Picture Editor";
    m_World.m_pMessages->m_ErrorTexts[5] = "five";
    q32ShowMsg(-1, nullptr, nullptr, nullptr, 0);
    q32ShowMsgStr("text", 0);
    q32ShowSysMsg(5);
    ASSERT_EQ(m_World.m_pMessages->m_Boxes.size(), 3u);
    for (const auto& box : m_World.m_pMessages->m_Boxes)
        EXPECT_EQ(box.m_Caption, "Picture Editor");
    EXPECT_EQ(m_App.m_pszAppName, kName);
}

TEST_F(TitleSwap, WithAnMdiMainWindowTheTitleIsTheHostsString128) {
    m_App.m_bMDI = true;
    m_App.m_Title = "of the template";
    m_World.m_pResources->m_Strings[{nullptr, 128}] = "Main Frame";
    EXPECT_EQ(fnShownCaption(), "Main Frame");
    m_World.m_pResources->m_Strings.clear();
    EXPECT_EQ(fnShownCaption(), kName);
}

TEST_F(TitleSwap, WithoutATemplateTheNameStays) {
    EXPECT_EQ(fnShownCaption(), kName);
}

TEST_F(TitleSwap, AnEmptyTitleLeavesTheName) {
    m_App.m_Title = "";
    EXPECT_EQ(fnShownCaption(), kName);
}

TEST_F(TitleSwap, ATitleThatIsTheNameIsNotCopied) {
    m_App.m_Title = kName;
    m_World.m_pMessages->m_OnBox = [this] { EXPECT_EQ(m_App.m_pszAppName, kName); };
    EXPECT_EQ(fnShownCaption(), kName);
}

TEST_F(TitleSwap, WithoutAMainWindowTheNameStays) {
    m_App.m_Title = "Picture Editor";
    m_World.m_pWindows->m_pMainWnd = nullptr;
    EXPECT_EQ(fnShownCaption(), kName);
}

TEST_F(TitleSwap, WithoutAnApplicationThereIsNoCaption) {
    m_World.m_pWindows->m_pApp = nullptr;
    EXPECT_EQ(fnShownCaption(), std::nullopt);
}

TEST_F(TitleSwap, AnApplicationWithoutANameGetsTheTitle) {
    m_App.m_pszAppName = nullptr;
    m_App.m_Title = "Picture Editor";
    EXPECT_EQ(fnShownCaption(), "Picture Editor");
    EXPECT_EQ(m_App.m_pszAppName, nullptr);
    m_App.m_Title.reset();
    EXPECT_EQ(fnShownCaption(), std::nullopt);
}

TEST_F(TitleSwap, NestedBoxesUnwindInOrder) {
    m_App.m_Title = "outer";
    m_World.m_pMessages->m_OnBox = [this] {
        EXPECT_STREQ(m_App.m_pszAppName, "outer");
        m_App.m_Title = "inner";
        q32ShowMsgStr("nested", 0);
        EXPECT_STREQ(m_App.m_pszAppName, "outer");
    };
    q32ShowMsgStr("first", 0);
    ASSERT_EQ(m_World.m_pMessages->m_Boxes.size(), 2u);
    EXPECT_EQ(m_World.m_pMessages->m_Boxes[0].m_Caption, "outer");
    EXPECT_EQ(m_World.m_pMessages->m_Boxes[1].m_Caption, "inner");
    EXPECT_EQ(m_App.m_pszAppName, kName);
}

TEST_F(TitleSwap, AHostExceptionThrownFromTheBoxUndoesTheSwap) {
    m_App.m_Title = "Picture Editor";
    m_World.m_pMessages->m_OnBox = [] { throw std::runtime_error("host"); };
    EXPECT_THROW(q32ShowMsgStr("text", 0), std::runtime_error);
    EXPECT_EQ(m_App.m_pszAppName, kName);
}

TEST_F(TitleSwap, ExhaustedMemoryWhileReadingTheTitleLeavesTheName) {
    m_App.m_bMemoryFails = true;
    EXPECT_EQ(fnShownCaption(), kName);
    m_App.m_bMDI = true;
    m_World.m_pResources->m_bMemoryFails = true;
    EXPECT_EQ(fnShownCaption(), kName);
}

TEST_F(TitleSwap, NoFailedAllocationLeaksOrLeavesTheNameSwapped) {
    m_App.m_Title = "A title that is too long for any short-string room";
    q32ShowMsgStr("text", 0);
    m_World.m_pMessages->m_Boxes.clear();
    m_World.m_pMessages->m_Boxes.reserve(4);
    const auto failed = fnFailEachAllocation([this](CqAllocationFailure& failure) {
        const auto outstanding = CqAllocationFailure::fnOutstanding();
        q32ShowMsgStr("text", 0);
        failure.fnEnd();
        EXPECT_EQ(m_App.m_pszAppName, kName);
        m_World.m_pMessages->m_Boxes.clear();
        EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
    });
    EXPECT_GE(failed, 1u);
}
