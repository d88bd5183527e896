#include "q32Base/framework/CPalette.h"
#include "q32Base/module/Module.h"
#include "tests/platforms/Win32TestTools.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

/// The thread's locale, for the life of the object.
class ThreadLocale {
public:
    explicit ThreadLocale(LCID locale) { ::SetThreadLocale(locale); }
    ~ThreadLocale() { ::SetThreadLocale(m_Before); }
    ThreadLocale(const ThreadLocale&) = delete;
    ThreadLocale& operator=(const ThreadLocale&) = delete;

private:
    LCID m_Before = ::GetThreadLocale();
};

constexpr LCID kEnglish = 0x0409; ///< of the United States
constexpr LCID kGerman = 0x0407;
constexpr SYSTEMTIME kMoment{2001, 2, 6, 3, 13, 5, 9, 0};

CqPlatform fnServices(UINT codePage = CP_ACP) {
    CqWin32Options options;
    options.m_nCodePage = codePage;
    return q32Win32Platform(q32Win32Windows(), options);
}

} // namespace

TEST(Win32Services, ThePlatformIsComplete) {
    EXPECT_TRUE(fnServices().fnIsComplete());
}

TEST(Win32Windows, AnItemOfAMenuIsEnabledByItsCommand) {
    const HMENU menu = ::CreatePopupMenu();
    ASSERT_TRUE(::AppendMenuW(menu, MF_STRING, 77, L"item"));
    CqWin32CmdUI item(77, menu);
    EXPECT_EQ(item.m_nID, 77u);
    item.Enable(false);
    EXPECT_NE(::GetMenuState(menu, 77, MF_BYCOMMAND) & MF_GRAYED, 0u);
    item.Enable(true);
    EXPECT_EQ(::GetMenuState(menu, 77, MF_BYCOMMAND) & MF_GRAYED, 0u);
    ::DestroyMenu(menu);
}

TEST(Win32Memory, MoreThanWasReservedIsNotCommitted) {
    const CqPlatform services = fnServices();
    CqMemoryService& memory = *services.m_pMemory;
    constexpr std::size_t kReserved = std::size_t{1} << 20;
    void* const range = memory.fnReserve(kReserved);
    ASSERT_NE(range, nullptr);
    EXPECT_FALSE(memory.fnCommit(range, std::size_t{1} << 40));
    EXPECT_TRUE(memory.fnRelease(range, kReserved));
}

TEST(Win32Memory, BlocksTakeHalfOfTheMachinesMemory) {
    const CqPlatform services = fnServices();
    CqMemoryService& memory = *services.m_pMemory;
    EXPECT_EQ(memory.fnGetBlockLimit(), memory.fnGetPhysicalBytes() / 2);
}

TEST(Win32Keyboard, ARequestToQuitIsNoKeyAndStaysInTheQueue) {
    const CqPlatform services = fnServices();
    CqKeyboardService& keyboard = *services.m_pKeyboard;
    ::PostQuitMessage(17);
    CqKeyMessage message;
    EXPECT_FALSE(keyboard.fnTakeKeyMessage(message));
    EXPECT_FALSE(keyboard.fnTakeKeyMessage(message));
    MSG found{};
    ASSERT_TRUE(::PeekMessageW(&found, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(found.message, UINT{WM_QUIT});
    EXPECT_EQ(found.wParam, 17u);
}

TEST(Win32Locale, DatesAndTimesHaveTheFormOfTheThreadsLocale) {
    const CqPlatform services = fnServices();
    CqLocaleService& locale = *services.m_pLocale;
    std::string text;
    {
        const ThreadLocale english(kEnglish);
        EXPECT_TRUE(locale.fnFormatDate(kMoment, text));
        EXPECT_EQ(text, "2/3/2001");
        EXPECT_TRUE(locale.fnFormatTime(kMoment, 0, text));
        EXPECT_EQ(text, "1:05:09 PM");
        EXPECT_TRUE(locale.fnFormatTime(kMoment, kTimeNoSeconds, text));
        EXPECT_EQ(text, "1:05 PM");
    }
    const ThreadLocale german(kGerman);
    EXPECT_TRUE(locale.fnFormatDate(kMoment, text));
    EXPECT_TRUE(text == "03.02.2001" || text == "3.2.2001") << text; // Wine drops the zeros
    EXPECT_TRUE(locale.fnFormatTime(kMoment, kTimeForce24Hour, text));
    EXPECT_EQ(text, "13:05:09");
}

TEST(Win32Locale, LocalTimeIsTheSystems) {
    const CqPlatform services = fnServices();
    CqLocaleService& locale = *services.m_pLocale;
    for (int attempt = 0; attempt < 3; ++attempt) { // the minute may end in between
        SYSTEMTIME expected;
        ::GetLocalTime(&expected);
        SYSTEMTIME time{};
        ASSERT_TRUE(locale.fnGetLocalTime(std::time(nullptr), time));
        if (time.wMinute != expected.wMinute)
            continue;
        EXPECT_EQ(time.wHour, expected.wHour);
        EXPECT_EQ(time.wDay, expected.wDay);
        EXPECT_EQ(time.wYear, expected.wYear);
        EXPECT_EQ(time.wDayOfWeek, expected.wDayOfWeek);
        return;
    }
    FAIL() << "the minutes never agreed";
}

TEST(Win32Locale, AMomentBeyondTheSystemsCalendarHasNoLocalTime) {
    const CqPlatform services = fnServices();
    CqLocaleService& locale = *services.m_pLocale;
    SYSTEMTIME time{};
    EXPECT_FALSE(locale.fnGetLocalTime(INT64_MAX, time));
    EXPECT_FALSE(locale.fnGetLocalTime(INT64_MIN, time));
}

TEST(Win32Messages, TheLastErrorIsThatOfAFailedService) {
    const CqPlatform services = fnServices();
    CqFileInfo info;
    EXPECT_FALSE(services.m_pFiles->fnGetInfo("C:\\no such directory\\a", false, info));
    EXPECT_EQ(services.m_pMessages->fnGetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

/// A device context of the host, which it releases in the end.
class Win32HostDC : public testing::Test {
protected:
    ~Win32HostDC() override { ::DeleteDC(m_Own); }

    const HDC m_Own = ::CreateCompatibleDC(nullptr);
};

TEST_F(Win32HostDC, ItsTextsAreInTheCodePage) {
    const auto measure = [this](UINT codePage, const char* text) {
        SIZE size{};
        const auto dc = q32Win32DC(m_Own, 0, codePage);
        EXPECT_TRUE(dc->GetTextExtentPoint32(text, -1, &size));
        return size.cx;
    };
    EXPECT_EQ(measure(CP_UTF8, "\xC3\xA4"), measure(1252, "\xE4"));
    EXPECT_GT(measure(1252, "\xC3\xA4"), measure(CP_UTF8, "\xC3\xA4")) << "two characters";
}

TEST_F(Win32HostDC, APaletteThatGoesIsSelectedNowhere) {
    ASSERT_TRUE(q32Attach(fnServices()));
    {
        const auto dc = q32Win32DC(m_Own);
        const std::unique_ptr<CDC> memory = dc->CreateCompatibleDC();
        const std::unique_ptr<CDC> other = q32Win32DC(m_Own);
        LOGPALETTE entry{0x300, 1, {{1, 2, 3, 0}}};
        CPalette kept;
        ASSERT_TRUE(kept.CreatePalette(&entry));
        other->SelectPalette(&kept, false);
        {
            CPalette palette;
            ASSERT_TRUE(palette.CreatePalette(&entry));
            dc->SelectPalette(&palette, false);
            memory->SelectPalette(&palette, true);
            EXPECT_NE(::GetCurrentObject(m_Own, OBJ_PAL), ::GetStockObject(DEFAULT_PALETTE));
        }
        EXPECT_EQ(::GetCurrentObject(m_Own, OBJ_PAL), ::GetStockObject(DEFAULT_PALETTE));
        EXPECT_EQ(dc->SelectPalette(nullptr, true), nullptr);
        EXPECT_EQ(memory->SelectPalette(nullptr, true), nullptr);
        EXPECT_EQ(other->SelectPalette(nullptr, true), &kept) << "another one stays";
    }
    q32Detach();
    q32SetMessageService(nullptr);
}
