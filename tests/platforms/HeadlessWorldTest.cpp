#include "platforms/headless/headless.h"

#include <gtest/gtest.h>

namespace {

SYSTEMTIME fnMoment(WORD hour) {
    SYSTEMTIME time{};
    time.wYear = 1999;
    time.wMonth = 12;
    time.wDay = 31;
    time.wHour = hour;
    time.wMinute = 5;
    time.wSecond = 9;
    return time;
}

} // namespace

TEST(HeadlessWorld, ProvidesACompletePlatformOfItsOwnServices) {
    EXPECT_TRUE(q32HeadlessPlatform().fnIsComplete());
    const auto world = q32HeadlessWorld();
    const CqPlatform platform = world->fnPlatform();
    EXPECT_TRUE(platform.fnIsComplete());
    EXPECT_EQ(platform.m_pScreen.get(), world->m_pScreen.get());
    EXPECT_NE(platform.m_pScreen.get(), q32HeadlessPlatform().m_pScreen.get());
}

TEST(HeadlessWorld, ServicesOutliveTheWorldThatMadeThem) {
    const auto scratch = q32HeadlessPlatform().m_pScratch;
    std::string name;
    EXPECT_TRUE(scratch->fnCreateName("C:\\Temp\\", "~qd", name));
    EXPECT_TRUE(scratch->fnDelete(name.c_str()));
}

TEST(HeadlessWorld, StartsAsItsOptionsSpecify) {
    CqHeadlessOptions options;
    options.m_nPhysicalBytes = 77;
    options.m_szTempDirectory = "D:\\T\\";
    options.m_Volumes = {{.m_szRoot = "D:\\", .m_szFolder = ""}};
    options.m_Mode.m_nBits = 8;
    options.m_nNow = 5;
    options.m_nMinutesEast = 60;
    const auto world = q32HeadlessWorld(options);
    EXPECT_EQ(world->m_pMemory->fnGetPhysicalBytes(), 77u);
    EXPECT_TRUE(world->m_pFiles->fnExists("D:\\T"));
    EXPECT_EQ(world->m_pScreen->fnGetMode().m_nBits, 8);
    EXPECT_EQ(world->m_pDisks->fnGetNow(), 5);
    SYSTEMTIME time{};
    ASSERT_TRUE(world->m_pLocale->fnGetLocalTime(0, time));
    EXPECT_EQ(time.wHour, 1);
    EXPECT_EQ(world->m_pWindows->fnGetApp(), nullptr);
    EXPECT_EQ(world->m_pWindows->fnGetMainWnd(), nullptr);
    EXPECT_EQ(world->m_pMixers->fnGetCount(), 0u);
    EXPECT_TRUE(world->m_pMisuses->fnGetAll().empty());
}

TEST(HeadlessKeyboard, TheTwoKeyStatesAreDistinguished) {
    CqHeadlessKeyboard keyboard;
    keyboard.fnSetKey(VK_ESCAPE, true, false);
    EXPECT_TRUE(keyboard.fnIsKeyDown(VK_ESCAPE));
    EXPECT_FALSE(keyboard.fnIsKeyDownNow(VK_ESCAPE));
    keyboard.fnSetKey(VK_ESCAPE, false, true);
    EXPECT_FALSE(keyboard.fnIsKeyDown(VK_ESCAPE));
    EXPECT_TRUE(keyboard.fnIsKeyDownNow(VK_ESCAPE));
    EXPECT_FALSE(keyboard.fnIsKeyDown('A'));
    EXPECT_EQ(keyboard.fnGetLooks(), 3u);
}

TEST(HeadlessKeyboard, AKeyGoesDownAfterTheScriptedNumberOfPolls) {
    CqHeadlessKeyboard keyboard;
    keyboard.fnPressAfter(VK_ESCAPE, 2);
    for (const bool expected : {false, false, true, true}) {
        EXPECT_EQ(keyboard.fnIsKeyDown(VK_ESCAPE), expected);
        EXPECT_EQ(keyboard.fnIsKeyDownNow(VK_ESCAPE), expected);
    }
}

TEST(HeadlessKeyboard, OnlyKeyMessagesAreTakenAndTheOthersStayInTheirOrder) {
    CqHeadlessKeyboard keyboard;
    const CqKeyMessage posted[] = {
        {0x0F, 1}, {WM_KEYFIRST, 2}, {WM_KEYLAST + 1, 3}, {WM_KEYLAST, 4}, {0xFF, 5}};
    for (const CqKeyMessage& message : posted)
        keyboard.fnPost(message.m_nMessage, message.m_wParam);
    CqKeyMessage taken;
    ASSERT_TRUE(keyboard.fnTakeKeyMessage(taken));
    EXPECT_EQ(taken.m_wParam, 2u);
    ASSERT_TRUE(keyboard.fnTakeKeyMessage(taken));
    EXPECT_EQ(taken.m_nMessage, WM_KEYLAST);
    EXPECT_FALSE(keyboard.fnTakeKeyMessage(taken));
    ASSERT_EQ(keyboard.fnGetQueue().size(), 3u);
    EXPECT_EQ(keyboard.fnGetQueue()[0].m_wParam, 1u);
    EXPECT_EQ(keyboard.fnGetQueue()[1].m_wParam, 3u);
    EXPECT_EQ(keyboard.fnGetQueue()[2].m_wParam, 5u);
    EXPECT_EQ(keyboard.fnGetTaken().size(), 2u);
}

TEST(HeadlessMessages, BoxesAreRecordedAndAnsweredInOrderElseByTheirFirstButton) {
    CqHeadlessMessages messages;
    messages.fnAnswer(IDNO);
    messages.fnAnswer(IDCANCEL);
    EXPECT_EQ(messages.fnShowBox("one", MB_YESNO | MB_ICONEXCLAMATION, "App"), IDNO);
    EXPECT_EQ(messages.fnShowBox("two", MB_YESNOCANCEL, nullptr), IDCANCEL);
    EXPECT_EQ(messages.fnShowBox("three", MB_YESNOCANCEL, nullptr), IDYES);
    EXPECT_EQ(messages.fnShowBox("four", MB_YESNO, nullptr), IDYES);
    EXPECT_EQ(messages.fnShowBox("five", MB_OKCANCEL, nullptr), IDOK);
    EXPECT_EQ(messages.fnShowBox("six", MB_OK | MB_ICONHAND, nullptr), IDOK);
    ASSERT_EQ(messages.fnGetBoxes().size(), 6u);
    const CqHeadlessBox& box = messages.fnGetBoxes()[0];
    EXPECT_EQ(box.m_szText, "one");
    EXPECT_EQ(box.fnGetButtons(), MB_YESNO);
    EXPECT_EQ(box.fnGetIcon(), MB_ICONEXCLAMATION);
    EXPECT_EQ(box.m_Caption, "App");
    EXPECT_EQ(box.m_nAnswer, IDNO);
    EXPECT_EQ(messages.fnGetBoxes()[1].m_Caption, std::nullopt);
    messages.fnClearBoxes();
    EXPECT_TRUE(messages.fnGetBoxes().empty());
}

TEST(HeadlessMessages, ABoxThatCannotBeShownReturnsZero) {
    CqHeadlessMessages messages;
    messages.m_ShowBox.fnFail();
    EXPECT_EQ(messages.fnShowBox("lost", MB_OK, nullptr), 0);
    EXPECT_EQ(messages.fnGetBoxes().at(0).m_nAnswer, 0);
    EXPECT_EQ(messages.fnShowBox("seen", MB_OK, nullptr), IDOK);
}

TEST(HeadlessMessages, TheScriptActsWhileABoxIsOpen) {
    CqHeadlessMessages messages;
    messages.m_OnBox = [&](const CqHeadlessBox& box) {
        if (box.m_szText == "outer") {
            EXPECT_EQ(messages.fnShowBox("inner", MB_OK, nullptr), IDOK);
        }
    };
    EXPECT_EQ(messages.fnShowBox("outer", MB_YESNO, nullptr), IDYES);
    ASSERT_EQ(messages.fnGetBoxes().size(), 2u);
    EXPECT_EQ(messages.fnGetBoxes()[0].m_nAnswer, IDYES);
    EXPECT_EQ(messages.fnGetBoxes()[1].m_szText, "inner");
}

TEST(HeadlessMessages, TheLastErrorAndItsTextAreScripted) {
    CqHeadlessMessages messages;
    EXPECT_EQ(messages.fnGetLastError(), 0u);
    messages.fnSetLastError(1234);
    EXPECT_EQ(messages.fnGetLastError(), 1234u);
    std::string text;
    EXPECT_FALSE(messages.fnFormatError(1234, text));
    messages.fnSetErrorText(1234, "worn out");
    ASSERT_TRUE(messages.fnFormatError(1234, text));
    EXPECT_EQ(text, "worn out");
    EXPECT_TRUE(messages.fnFormatError(5, text));
    messages.m_FormatError.fnFail();
    EXPECT_FALSE(messages.fnFormatError(1234, text));
    messages.fnSetErrorText(1234, std::nullopt);
    EXPECT_FALSE(messages.fnFormatError(1234, text));
}

TEST(HeadlessWindow, RecordsItsCalls) {
    CqHeadlessWnd window({10, 20, 40, 60});
    EXPECT_EQ(window.GetClientRect(), CRect(0, 0, 30, 40));
    window.fnSetAnswer(9);
    EXPECT_EQ(window.SendMessage(78, 1, -2), 9);
    const RECT part{1, 2, 3, 4};
    window.InvalidateRect(&part, true);
    window.InvalidateRect(nullptr, false);
    ASSERT_EQ(window.fnGetMessages().size(), 1u);
    EXPECT_EQ(window.fnGetMessages()[0].m_nMessage, 78u);
    EXPECT_EQ(window.fnGetMessages()[0].m_wParam, 1u);
    EXPECT_EQ(window.fnGetMessages()[0].m_lParam, -2);
    ASSERT_EQ(window.fnGetInvalidations().size(), 2u);
    EXPECT_EQ(CRect(*window.fnGetInvalidations()[0].m_Rect), part);
    EXPECT_TRUE(window.fnGetInvalidations()[0].m_bErase);
    EXPECT_FALSE(window.fnGetInvalidations()[1].m_Rect.has_value());
    EXPECT_TRUE(window.IsWindow());
    window.fnMove({0, 0, 5, 5});
    EXPECT_EQ(window.GetClientRect(), CRect(0, 0, 5, 5));
    window.fnDestroy();
    EXPECT_FALSE(window.IsWindow());
}

TEST(HeadlessWindow, TheApplicationAndItsMainWindowCanBeSetAndRemoved) {
    CqHeadlessWindows windows;
    CqHeadlessApp app;
    CqHeadlessWnd main({0, 0, 1, 1});
    windows.fnSetApp(&app);
    windows.fnSetMainWnd(&main);
    EXPECT_EQ(windows.fnGetApp(), &app);
    EXPECT_EQ(windows.fnGetMainWnd(), &main);
    windows.fnSetMainWnd(nullptr);
    EXPECT_EQ(windows.fnGetMainWnd(), nullptr);
    CString title;
    EXPECT_FALSE(app.GetTemplateTitle(title));
    app.m_TemplateTitle = "Picture";
    ASSERT_TRUE(app.GetTemplateTitle(title));
    EXPECT_STREQ(title, "Picture");
    EXPECT_FALSE(app.IsMDI());
    app.m_bMDI = true;
    EXPECT_TRUE(app.IsMDI());
}

TEST(HeadlessLocale, DatesAndTimesHaveAFixedFormat) {
    CqHeadlessLocale locale(1252, 0);
    std::string text;
    ASSERT_TRUE(locale.fnFormatDate(fnMoment(0), text));
    EXPECT_EQ(text, "12/31/1999");
    const struct {
        WORD m_nHour;
        UINT m_nFlags;
        const char* m_szText;
    } kCases[] = {{0, 0, "12:05:09 AM"},
                  {11, 0, "11:05:09 AM"},
                  {12, 0, "12:05:09 PM"},
                  {13, kTimeNoSeconds, "1:05 PM"},
                  {9, kTimeForce24Hour, "09:05:09"},
                  {23, kTimeForce24Hour | kTimeNoSeconds, "23:05"}};
    for (const auto& one : kCases) {
        ASSERT_TRUE(locale.fnFormatTime(fnMoment(one.m_nHour), one.m_nFlags, text));
        EXPECT_EQ(text, one.m_szText);
    }
    EXPECT_FALSE(locale.fnFormatTime(fnMoment(24), 0, text));
}

TEST(HeadlessLocale, LocalTimeIsAFixedOffsetFromUtc) {
    CqHeadlessLocale locale(1252, -90);
    SYSTEMTIME time{};
    ASSERT_TRUE(locale.fnGetLocalTime(946684800, time)); // 2000-01-01 00:00
    EXPECT_EQ(time.wYear, 1999);
    EXPECT_EQ(time.wMonth, 12);
    EXPECT_EQ(time.wDay, 31);
    EXPECT_EQ(time.wDayOfWeek, 5);
    EXPECT_EQ(time.wHour, 22);
    EXPECT_EQ(time.wMinute, 30);
    ASSERT_TRUE(locale.fnGetLocalTime(-1, time));
    EXPECT_EQ(time.wYear, 1969);
    EXPECT_EQ(time.wSecond, 59);
    locale.fnSetTimeZone(0);
    EXPECT_TRUE(locale.fnGetLocalTime(-11644473600, time));
    EXPECT_EQ(time.wYear, 1601);
    EXPECT_FALSE(locale.fnGetLocalTime(-11644473601, time));
    EXPECT_TRUE(locale.fnGetLocalTime(910670515199, time));
    EXPECT_EQ(time.wYear, 30827);
    EXPECT_FALSE(locale.fnGetLocalTime(910670515200, time));
    EXPECT_FALSE(locale.fnGetLocalTime(INT64_MIN, time));
    EXPECT_FALSE(locale.fnGetLocalTime(INT64_MAX, time));
}

TEST(HeadlessLocale, CharactersHaveTheBytesOfTheCodePage) {
    CqHeadlessLocale locale(1252, 0);
    EXPECT_EQ(locale.fnGetCharBytes("\x83\x5C", 2), 1u);
    locale.fnSetCodePage(932);
    EXPECT_EQ(locale.fnGetCharBytes("\x83\x5C", 2), 2u);
    EXPECT_EQ(locale.fnGetCharBytes("\x83\x5C", 1), 1u);
    EXPECT_EQ(locale.fnGetCharBytes("\xB1\x5C", 2), 1u) << "a single-byte character";
    EXPECT_EQ(locale.fnGetCharBytes("\x83\x20", 2), 1u) << "no trail byte";
    locale.fnSetCodePage(65001);
    EXPECT_EQ(locale.fnGetCharBytes("\xC3\xA9", 2), 2u);
    EXPECT_EQ(locale.fnGetCharBytes("\xE4\xB8\xAD", 3), 3u);
    EXPECT_EQ(locale.fnGetCharBytes("\xE4\xB8\xAD", 2), 1u);
    EXPECT_EQ(locale.fnGetCharBytes("\xF0\x9F\x98\x80", 4), 4u);
    EXPECT_EQ(locale.fnGetCharBytes("\xC0\x80", 2), 1u) << "too long a form";
    EXPECT_EQ(locale.fnGetCharBytes("\xED\xA0\x80", 3), 1u) << "half of a pair";
    EXPECT_EQ(locale.fnGetCharBytes("\xF4\x90\x80\x80", 4), 1u) << "beyond the last one";
}

TEST(HeadlessLocale, CallsFailOnDemand) {
    CqHeadlessLocale locale(1252, 0);
    std::string text;
    SYSTEMTIME time = fnMoment(1);
    locale.m_FormatDate.fnFail();
    locale.m_FormatTime.fnFail();
    locale.m_GetLocalTime.fnFail();
    EXPECT_FALSE(locale.fnFormatDate(time, text));
    EXPECT_FALSE(locale.fnFormatTime(time, 0, text));
    EXPECT_FALSE(locale.fnGetLocalTime(0, time));
    EXPECT_TRUE(locale.fnFormatDate(time, text));
}

TEST(HeadlessToolBar, ButtonsAreEnabledUntilTheyAreDisabled) {
    CqHeadlessToolBar bar;
    EXPECT_TRUE(bar.fnIsEnabled(7));
    EXPECT_EQ(bar.SendMessage(TB_ENABLEBUTTON, 7, 0), 1);
    EXPECT_FALSE(bar.fnIsEnabled(7));
    EXPECT_TRUE(bar.fnIsEnabled(8));
    EXPECT_EQ(bar.SendMessage(TB_ENABLEBUTTON, 7, 0x10001), 1) << "the low word tells";
    EXPECT_TRUE(bar.fnIsEnabled(7));
    EXPECT_EQ(bar.SendMessage(WM_CHAR, 7, 0), 0);
    EXPECT_TRUE(bar.fnIsEnabled(7));
}

TEST(HeadlessToolBar, AToolBarWithoutAWindowIgnoresCallsButRecordsThem) {
    CqHeadlessToolBar bar;
    bar.fnDestroy();
    EXPECT_EQ(bar.SendMessage(TB_ENABLEBUTTON, 7, 0), 0);
    EXPECT_TRUE(bar.fnIsEnabled(7));
    EXPECT_EQ(bar.fnGetMessages(), (std::vector<CqHeadlessToolBar::Message>{{0x401, 7, 0}}));
}

TEST(HeadlessDocument, KeepsTheFlagsThatWereSet) {
    CqHeadlessDocument document;
    document.SetModifiedFlag(true);
    EXPECT_EQ(document.IsModified(), 1);
    document.SetModifiedFlag(false);
    EXPECT_EQ(document.IsModified(), 0);
    EXPECT_EQ(document.m_ModifiedSet, (std::vector<bool>{true, false}));
}
