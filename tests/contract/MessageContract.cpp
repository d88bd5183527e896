#include "q32Base/messages/Messages.h"
#include "q32Base/module/Module.h"
#include "tests/contract/ContractBackEnd.h"

#include <optional>
#include <set>
#include <string>
#include <utility>

namespace {

/// Message boxes.
class BoxContract : public ContractTest {
protected:
    void TearDown() override { q32SetMessageService(nullptr); }

    /// Shows a box, answers it, and returns its contents.
    ContractBox fnShow(const char* text, UINT style, const char* caption, int answer) {
        std::optional<ContractBox> seen;
        m_Boxes.fnAnswer(answer, [&](const ContractBox& box) { seen = box; });
        EXPECT_EQ(m_Messages.fnShowBox(text, style, caption), answer);
        EXPECT_TRUE(seen.has_value());
        return seen.value_or(ContractBox());
    }

    CqMessageService& m_Messages = *m_World.m_Platform.m_pMessages;
    ContractBoxes& m_Boxes = *m_World.m_pBoxes;
};

/// Errors of the system.
class ErrorContract : public ContractTest {
protected:
    CqMessageService& m_Messages = *m_World.m_Platform.m_pMessages;
};

TEST_P(BoxContract, EachSetHasItsButtonsAndEachButtonItsAnswer) {
    const std::pair<UINT, std::set<int>> kSets[] = {{MB_OK, {IDOK}},
                                                    {MB_OKCANCEL, {IDOK, IDCANCEL}},
                                                    {MB_YESNO, {IDYES, IDNO}},
                                                    {MB_YESNOCANCEL, {IDYES, IDNO, IDCANCEL}}};
    for (const auto& [style, buttons] : kSets)
        for (const int answer : buttons)
            EXPECT_EQ(fnShow("a", style, "b", answer).m_Buttons, buttons) << style;
}

TEST_P(BoxContract, TheIconIsThatOfTheStyleWhateverTheButtons) {
    for (const UINT buttons : {MB_OK, MB_YESNOCANCEL})
        for (const UINT icon : std::initializer_list<UINT>{0, MB_ICONHAND, MB_ICONQUESTION,
                                                           MB_ICONEXCLAMATION, MB_ICONASTERISK})
            EXPECT_EQ(fnShow("a", buttons | icon, "b", buttons == MB_OK ? IDOK : IDNO).m_nIcon,
                      icon);
}

TEST_P(BoxContract, TextAndCaptionAreShownUnchanged) {
    const ContractBox box = fnShow("<b>sea & sky</b>\n%s", MB_OK, "Dark & room", IDOK);
    EXPECT_EQ(box.m_szText, "<b>sea & sky</b>\n%s");
    EXPECT_EQ(box.m_szCaption, "Dark & room");
}

TEST_P(BoxContract, ABoxNeedsNeitherTextNorCaption) {
    EXPECT_EQ(fnShow("", MB_OK, "b", IDOK).m_szText, "");
    EXPECT_EQ(fnShow("no application", MB_YESNO, nullptr, IDNO).m_szText, "no application");
}

TEST_P(BoxContract, ALongTextIsShownCompletely) {
    const std::string text(2000, 'x');
    EXPECT_EQ(fnShow(text.c_str(), MB_OK, "b", IDOK).m_szText, text);
}

TEST_P(BoxContract, WhileABoxIsOpenAnotherMayBeShown) {
    int inner = 0;
    int seen = 0;
    m_Boxes.fnAnswer(IDNO, [&](const ContractBox& box) {
        EXPECT_EQ(box.m_szText, "outer");
        m_Boxes.fnAnswer(IDCANCEL, [&](const ContractBox& second) {
            EXPECT_EQ(second.m_szText, "inner");
            ++seen;
        });
        inner = m_Messages.fnShowBox("inner", MB_OKCANCEL, "b");
        ++seen;
    });
    EXPECT_EQ(m_Messages.fnShowBox("outer", MB_YESNO, "b"), IDNO);
    EXPECT_EQ(inner, IDCANCEL);
    EXPECT_EQ(seen, 2);
}

TEST_P(BoxContract, TheLibraryShowsBoxesBeforeTheStartWhileItRunsAndAfterTheStop) {
    q32SetMessageService(m_World.m_Platform.m_pMessages);
    const auto show = [&](const char* text) {
        std::string seen;
        m_Boxes.fnAnswer(IDYES, [&](const ContractBox& box) { seen = box.m_szText; });
        EXPECT_EQ(q32ShowMsgStr(text, MB_YESNO), IDYES) << text;
        EXPECT_EQ(seen, text);
    };
    show("before");
    ASSERT_TRUE(q32Attach(m_World.m_Platform));
    show("running");
    q32Detach();
    show("after");
}

TEST_P(ErrorContract, TheLastErrorIsTheOneThatWasSet) {
    for (const DWORD code : {2u, 0u, 5u}) {
        m_World.m_SetLastError(code);
        EXPECT_EQ(m_Messages.fnGetLastError(), code);
        EXPECT_EQ(m_Messages.fnGetLastError(), code) << "asking doesn't change it";
    }
}

TEST_P(ErrorContract, AKnownErrorHasItsOwnText) {
    std::string missing;
    std::string refused;
    EXPECT_TRUE(m_Messages.fnFormatError(2, missing));
    EXPECT_TRUE(m_Messages.fnFormatError(5, refused));
    EXPECT_FALSE(missing.empty());
    EXPECT_FALSE(refused.empty());
    EXPECT_NE(missing, refused);
}

TEST_P(ErrorContract, NoErrorAndUnknownOnesHaveNoText) {
    std::string text = "as it was";
    for (const DWORD code : {0u, 1000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_FALSE(m_Messages.fnFormatError(code, text)) << code;
    EXPECT_EQ(text, "as it was");
}

TEST_P(ErrorContract, TheTextOfACodeDoesNotDependOnTheLastError) {
    std::string before;
    std::string after;
    m_World.m_SetLastError(0);
    EXPECT_TRUE(m_Messages.fnFormatError(2, before));
    m_World.m_SetLastError(5);
    EXPECT_TRUE(m_Messages.fnFormatError(2, after));
    EXPECT_EQ(before, after);
}

} // namespace

Q32_CONTRACT(BoxContract, BOXES);
Q32_CONTRACT(ErrorContract, ERRORS);
