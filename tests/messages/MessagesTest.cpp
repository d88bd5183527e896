#include "q32Base/messages/Messages.h"

#include "tests/support/FailingAllocator.h"
#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

struct Expected {
    int m_nId;
    const char* m_szFilled; ///< with "one" and "two" as arguments
    UINT m_nStyle;
};

constexpr UINT kHand = 0x10;
constexpr UINT kExclamation = 0x30;
constexpr UINT kYesNoCancel = 3;
constexpr UINT kYesNo = 4;

const Expected kMessages[] = {
    {-1, "Insufficient memory. Please close other programs\nto free up system resources.", kHand},
    {-2, "Error starting program. Please close the program and try again.", kHand},
    {-3, "Unable to open the file [one].", kHand},
    {-4, "Unable to read the file [one].", kHand},
    {-5, "Unable to save the file [one].", kHand},
    {-6, "The file [one] is invalid or corrupted.", kHand},
    {-7, "Unable to open the file [one] that is accessed by the other programs.", kHand},
    {-8, "Unable to rename [one] to [two].", kHand},
    {-9, "Unable to write a read-only file [one].", kHand},
    {-10, "The filename you have entered is too long.\nPlease try something shorter.", kHand},
    {-11, "The file [one] is empty.\nUnable to open.", kHand},
    {-100, "Insufficient disk space. Do you want to continue?", kHand | kYesNoCancel},
    {-101, "This file may be read-only.", kExclamation},
    {-102, "File format is not supported. Unable to access the file.", kExclamation},
    {-103, "This value must be between one and two.", kExclamation},
    {-104, "The folder [one] does not exist. Please enter again.", kExclamation},
    {-105, "The file [one] already exists.\nDo you want to overwrite it?", kExclamation | kYesNo},
    {-106, "Unable to find the file [one].", kExclamation},
    {-200, "Save changes to [one] before closing?", kExclamation | kYesNoCancel},
};

const HINSTANCE kModule = reinterpret_cast<HINSTANCE>(0x70000);

class Messages : public ::testing::Test {
protected:
    /// The one box shown since the last call.
    CqFakeMessages::Box fnBox() {
        EXPECT_EQ(m_World.m_pMessages->m_Boxes.size(), 1u);
        const auto box = m_World.m_pMessages->m_Boxes.at(0);
        m_World.m_pMessages->m_Boxes.clear();
        return box;
    }
    void fnSetHostString(UINT id, const std::string& text) {
        m_World.m_pResources->m_Strings[{nullptr, id}] = text;
    }
    CqFakeWorld m_World;
};

} // namespace

TEST_F(Messages, EachLibraryMessageHasItsTextButtonsAndIcon) {
    for (const Expected& expected : kMessages) {
        q32ShowMsg(expected.m_nId, nullptr, "one", "two", 0);
        const auto box = fnBox();
        EXPECT_EQ(box.m_Text, expected.m_szFilled) << expected.m_nId;
        EXPECT_EQ(box.m_nStyle, expected.m_nStyle) << expected.m_nId;
    }
}

TEST_F(Messages, ALibraryMessageIgnoresTheStyleAndModuleGiven) {
    m_World.m_pResources->m_Strings[{kModule, 9997}] = "the host's";
    q32ShowMsg(-3, kModule, "x.bmp", nullptr, MB_YESNO | MB_ICONQUESTION);
    const auto box = fnBox();
    EXPECT_EQ(box.m_Text, "Unable to open the file [x.bmp].");
    EXPECT_EQ(box.m_nStyle, kHand);
}

TEST_F(Messages, WithoutAFirstArgumentTheTextIsShownUnfilled) {
    q32ShowMsg(-3, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to open the file [%s].");
    q32ShowMsg(-8, nullptr, nullptr, "two", 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to rename [%s] to [%s].");
    fnSetHostString(7, "100%% %s");
    q32ShowMsg(7, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "100%% %s");
}

TEST_F(Messages, AMissingSecondArgumentIsShownAsNothing) {
    q32ShowMsg(-8, nullptr, "a", nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to rename [a] to [].");
    q32ShowMsg(-11, nullptr, "a", nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "The file [a] is empty.\nUnable to open.");
    fnSetHostString(7, "%s and %s, not %s");
    q32ShowMsg(7, nullptr, "a", nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "a and , not %s") << "no message has a third argument";
}

TEST_F(Messages, AnEmptyArgumentReplacesItsPlaceholder) {
    q32ShowMsg(-8, nullptr, "", "", 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to rename [] to [].");
}

TEST_F(Messages, UnassignedNegativeIdsHaveTwoArgumentsAndTheIconOfTheirRange) {
    q32ShowMsg(-12, nullptr, "a", "b", MB_YESNO);
    auto box = fnBox();
    EXPECT_EQ(box.m_Text, "");
    EXPECT_EQ(box.m_nStyle, kHand);
    q32ShowMsg(-107, nullptr, "a", "b", MB_YESNO);
    EXPECT_EQ(fnBox().m_nStyle, kExclamation);
    q32ShowMsg(-99, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(fnBox().m_nStyle, kHand);
    q32ShowMsg(-9781, nullptr, nullptr, nullptr, 0); // entry 219
    box = fnBox();
    EXPECT_EQ(box.m_Text, "Qkz.cfg");
    EXPECT_EQ(box.m_nStyle, kExclamation);
    q32ShowMsg(INT_MIN, nullptr, "a", "b", 0);
    EXPECT_EQ(fnBox().m_Text, "");
}

TEST_F(Messages, TheTextOfAMessageIsTheOneThatIsShown) {
    fnSetHostString(7, "%s and %s, not %s");
    m_World.m_pResources->m_Strings[{kModule, 7}] = "of the module: %s";
    const auto expectShown = [&](int id, const char* first, const char* second, HINSTANCE module) {
        q32ShowMsg(id, module, first, second, 0);
        EXPECT_EQ(fnBox().m_Text,
                  static_cast<const char*>(q32MessageText(id, first, second, module)))
            << id;
    };
    for (const Expected& expected : kMessages) {
        EXPECT_STREQ(q32MessageText(expected.m_nId, "one", "two"), expected.m_szFilled);
        expectShown(expected.m_nId, nullptr, "two", nullptr);
        expectShown(expected.m_nId, std::string(300, 'a').c_str(), "b", nullptr);
    }
    expectShown(7, "a", nullptr, nullptr);
    expectShown(7, "a", nullptr, kModule);
    expectShown(INT_MIN, "a", "b", nullptr);
    EXPECT_STREQ(q32MessageText(-3), "Unable to open the file [%s].");
    EXPECT_STREQ(q32MessageText(5000, "a"), "");
    EXPECT_TRUE(m_World.m_pMessages->m_Boxes.empty());
}

TEST_F(Messages, ATextWithoutMemoryIsEmpty) {
    CqAllocationFailure failure(1, true);
    const CString text = q32MessageText(-3, "x.bmp");
    failure.fnEnd();
    EXPECT_STREQ(text, "");
}

TEST_F(Messages, ThePressedButtonIsReturned) {
    for (const int button : {IDYES, IDNO, IDCANCEL, IDOK}) {
        m_World.m_pMessages->m_nAnswer = button;
        EXPECT_EQ(q32ShowMsg(-105, nullptr, "x", nullptr, 0), button);
        EXPECT_EQ(q32ShowMsgStr("text", MB_YESNOCANCEL), button);
    }
}

TEST_F(Messages, AHostMessageComesFromItsModule) {
    m_World.m_pResources->m_Strings[{kModule, 5000}] = "of the module: %s and %s";
    fnSetHostString(5000, "of the host");
    q32ShowMsg(5000, kModule, "a", "b", 0);
    EXPECT_EQ(fnBox().m_Text, "of the module: a and b");
    q32ShowMsg(5000, nullptr, "a", "b", 0);
    EXPECT_EQ(fnBox().m_Text, "of the host");
}

TEST_F(Messages, TheIdZeroIsAHostMessage) {
    fnSetHostString(0, "zero %s");
    q32ShowMsg(0, nullptr, "a", nullptr, MB_ICONASTERISK);
    const auto box = fnBox();
    EXPECT_EQ(box.m_Text, "zero a");
    EXPECT_EQ(box.m_nStyle, 0x40u);
}

TEST_F(Messages, AHostMessageWithoutAnIconGetsTheExclamationIcon) {
    q32ShowMsg(5000, kModule, nullptr, nullptr, MB_YESNO);
    EXPECT_EQ(fnBox().m_nStyle, 0x34u);
    q32ShowMsg(5000, kModule, nullptr, nullptr, MB_YESNO | MB_ICONQUESTION);
    EXPECT_EQ(fnBox().m_nStyle, 0x24u);
    q32ShowMsg(5000, kModule, nullptr, nullptr, 0x50100);
    EXPECT_EQ(fnBox().m_nStyle, 0x50130u);
}

TEST_F(Messages, AnIdWithoutAStringShowsAnEmptyText) {
    EXPECT_EQ(q32ShowMsg(5000, nullptr, nullptr, nullptr, 0), IDOK);
    EXPECT_EQ(fnBox().m_Text, "");
    q32ShowMsg(5000, nullptr, "a", "b", 0);
    EXPECT_EQ(fnBox().m_Text, "");
}

TEST_F(Messages, AHostTextIsTruncatedTo260Bytes) {
    fnSetHostString(1, std::string(300, 't'));
    q32ShowMsg(1, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, std::string(260, 't'));
}

TEST_F(Messages, AnArgumentOf300BytesIsTruncatedTo260) {
    q32ShowMsg(-3, nullptr, std::string(300, 'a').c_str(), nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to open the file [" + std::string(260, 'a') + "].");
}

TEST_F(Messages, BothArgumentsShareTheSpaceThatTheFormatLeaves) {
    // The format has 30 bytes; 490 are left: 260 for the first and 230 for the second.
    q32ShowMsg(-8, nullptr, std::string(300, 'a').c_str(), std::string(300, 'b').c_str(), 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to rename [" + std::string(260, 'a') + "] to [" +
                                  std::string(230, 'b') + "].");
    fnSetHostString(1, std::string(256, 't') + "%s%s");
    q32ShowMsg(1, nullptr, std::string(300, 'a').c_str(), "b", 0);
    EXPECT_EQ(fnBox().m_Text, std::string(256, 't') + std::string(260, 'a'));
}

TEST_F(Messages, AnUnusedArgumentTakesNoSpace) {
    q32ShowMsg(-11, nullptr, std::string(260, 'a').c_str(), std::string(300, 'b').c_str(), 0);
    EXPECT_EQ(fnBox().m_Text,
              "The file [" + std::string(260, 'a') + "] is empty.\nUnable to open.");
    q32ShowMsg(-1, nullptr, "a", "b", 0);
    EXPECT_EQ(fnBox().m_Text.rfind("Insufficient memory.", 0), 0u);
}

TEST_F(Messages, TruncationSplitsNoDoubleByteCharacter) {
    m_World.m_pLocale->m_bDoubleByte = true;
    const std::string text = std::string(259, 'a') + "\x83\x5c" + "b";
    q32ShowMsg(-3, nullptr, text.c_str(), nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to open the file [" + std::string(259, 'a') + "].");
    fnSetHostString(1, text);
    q32ShowMsg(1, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, std::string(259, 'a'));
}

TEST_F(Messages, SpaceSavedAtASplitCharacterGoesToTheSecondArgument) {
    m_World.m_pLocale->m_bDoubleByte = true;
    const std::string first = std::string(259, 'a') + "\x83\x5c";
    q32ShowMsg(-8, nullptr, first.c_str(), std::string(300, 'b').c_str(), 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to rename [" + std::string(259, 'a') + "] to [" +
                                  std::string(231, 'b') + "].");
}

TEST_F(Messages, AHostTextWithOtherOrMoreConversionsIsShownUnchanged) {
    fnSetHostString(1, "%d %n %5s %ls %s %% %s %s %x%");
    q32ShowMsg(1, nullptr, "a", "b", 0);
    EXPECT_EQ(fnBox().m_Text, "%d %n %5s %ls a % b %s %x%");
}

TEST_F(Messages, ConversionsInArgumentsAreText) {
    q32ShowMsg(-8, nullptr, "%s%n", "%%", 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to rename [%s%n] to [%%].");
}

TEST_F(Messages, AReadyTextIsShownWithTheHostsStyle) {
    q32ShowMsgStr("100% %s", MB_OKCANCEL);
    auto box = fnBox();
    EXPECT_EQ(box.m_Text, "100% %s");
    EXPECT_EQ(box.m_nStyle, 0x31u);
    q32ShowMsgStr("x", MB_ICONHAND);
    EXPECT_EQ(fnBox().m_nStyle, 0x10u);
    q32ShowMsgStr(nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "");
    q32ShowMsgStr(std::string(3000, 'l').c_str(), 0);
    EXPECT_EQ(fnBox().m_Text, std::string(3000, 'l'));
}

TEST_F(Messages, ASystemErrorIsShownWithTheSystemsText) {
    m_World.m_pMessages->m_ErrorTexts[5] = "Access is denied. 100%s\r\n";
    q32ShowSysMsg(5);
    const auto box = fnBox();
    EXPECT_EQ(box.m_Text, "Access is denied. 100%s\r\n");
    EXPECT_EQ(box.m_nStyle, 0u);
}

TEST_F(Messages, TheErrorZeroMeansTheLastError) {
    m_World.m_pMessages->m_ErrorTexts[2] = "two";
    m_World.m_pMessages->m_nLastError = 2;
    q32ShowSysMsg(0);
    EXPECT_EQ(fnBox().m_Text, "two");
}

TEST_F(Messages, NoErrorShowsNothing) {
    m_World.m_pMessages->m_ErrorTexts[0] = "none";
    q32ShowSysMsg(0);
    EXPECT_TRUE(m_World.m_pMessages->m_Boxes.empty());
}

TEST_F(Messages, AnErrorWithoutATextShowsNothing) {
    q32ShowSysMsg(77);
    EXPECT_TRUE(m_World.m_pMessages->m_Boxes.empty());
}

TEST_F(Messages, AnErrorCodeIsTruncatedTo32Bits) {
    m_World.m_pMessages->m_ErrorTexts[5] = "five";
    m_World.m_pMessages->m_nLastError = 5;
    q32ShowSysMsg(static_cast<unsigned long>(0x100000000ull));
    EXPECT_EQ(fnBox().m_Text, "five");
}

TEST(MessagesWithoutAPlatform, AreShownByTheConfiguredService) {
    const auto messages = std::make_shared<CqFakeMessages>();
    messages->m_nAnswer = IDYES;
    q32SetMessageService(messages);
    EXPECT_EQ(q32ShowMsg(-1, nullptr, nullptr, nullptr, 0), IDYES);
    EXPECT_EQ(q32ShowMsg(5000, nullptr, "a", nullptr, 0), IDYES);
    q32SetMessageService(nullptr);
    ASSERT_EQ(messages->m_Boxes.size(), 2u);
    EXPECT_EQ(messages->m_Boxes[0].m_Text.rfind("Insufficient memory.", 0), 0u);
    EXPECT_EQ(messages->m_Boxes[0].m_Caption, std::nullopt);
    EXPECT_EQ(messages->m_Boxes[1].m_Text, "");
}

/// Uninstalls itself while its box is open.
class LeavingMessages : public CqFakeMessages {
public:
    explicit LeavingMessages(bool& ended) : m_bEnded(ended) {}
    ~LeavingMessages() override { m_bEnded = true; }
    int fnShowBox(const char*, UINT, const char*) override {
        q32SetMessageService(nullptr);
        return m_bEnded ? IDNO : IDYES;
    }

private:
    bool& m_bEnded;
};

TEST(MessagesWithoutAPlatform, AServiceOutlivesItsOpenBox) {
    bool ended = false;
    q32SetMessageService(std::make_shared<LeavingMessages>(ended));
    EXPECT_EQ(q32ShowMsg(-105, nullptr, "x", nullptr, 0), IDYES);
    EXPECT_TRUE(ended);
}

TEST(MessagesWithoutAService, ReturnZero) {
    EXPECT_EQ(q32ShowMsg(-105, nullptr, "x", nullptr, 0), 0);
    EXPECT_EQ(q32ShowMsgStr("text", 0), 0);
    q32ShowSysMsg(5);
    q32ShowSysMsg(0);
}

TEST_F(Messages, TheServiceOfTheLastPlatformStaysInForce) {
    q32::fnClearPlatform();
    EXPECT_EQ(q32ShowMsg(-3, nullptr, "x", nullptr, 0), IDOK);
    EXPECT_EQ(fnBox().m_Text, "Unable to open the file [x].");
}

TEST_F(Messages, ABoxThatRunsOutOfMemoryReturnsZero) {
    m_World.m_pMessages->m_bMemoryFails = true;
    EXPECT_EQ(q32ShowMsg(-1, nullptr, nullptr, nullptr, 0), 0);
    EXPECT_EQ(q32ShowMsgStr("text", 0), 0);
    q32ShowSysMsg(5);
    EXPECT_TRUE(m_World.m_pMessages->m_Boxes.empty());
}

TEST_F(Messages, ATextThatRunsOutOfMemoryWhileLoadingIsEmpty) {
    m_World.m_pResources->m_bMemoryFails = true;
    EXPECT_EQ(q32ShowMsg(5000, nullptr, "a", nullptr, 0), IDOK);
    EXPECT_EQ(fnBox().m_Text, "");
}

TEST_F(Messages, ArgumentsThatRunOutOfMemoryWhileBeingTruncatedAreOmitted) {
    m_World.m_pLocale->m_bMemoryFails = true;
    q32ShowMsg(-3, nullptr, std::string(300, 'a').c_str(), nullptr, 0);
    EXPECT_EQ(fnBox().m_Text, "Unable to open the file [%s].");
}

TEST_F(Messages, TheLibraryItselfAllocatesNothingForItsOwnMessage) {
    m_World.m_pMessages->m_Boxes.reserve(1);
    CqAllocationFailure failure(1, true);
    const int answer = q32ShowMsg(-3, nullptr, "x.bmp", nullptr, 0);
    failure.fnEnd();
    // The allocations that failed were those of the recording box's own strings.
    EXPECT_EQ(answer, 0);
    const auto before = CqAllocationFailure::fnCount();
    q32SetMessageService(nullptr);
    q32ShowMsg(-3, nullptr, "x.bmp", nullptr, 0);
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
}
