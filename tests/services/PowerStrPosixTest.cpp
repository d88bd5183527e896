/// @file
/// Real volumes, files and languages.

#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/services/PowerStrTestTools.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

using namespace q32::test;

/// The C library leaks a list of folders each time that it looks for a locale under LOCPATH.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak checker asks for this name.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:argz_add_sep\n";
}

namespace {

class PowerStrPosix : public testing::Test {
protected:
    void SetUp() override {
        ::setenv("LOCPATH", Q32_TEST_LOCALES, 1);
        ::setenv("TZ", "UTC0", 1);
        ::tzset();
    }
    void TearDown() override {
        fnStop();
        ::unsetenv("LOCPATH");
        ::unsetenv("TZ");
        ::tzset();
    }
    void fnStart(const std::string& locale = "C") {
        fnStop();
        CqPosixOptions options;
        options.m_szLocale = locale;
        options.m_szConfigDirectory = m_Folder.fnPath("config");
        m_bAttached = q32Attach(q32PosixPlatform(options));
        ASSERT_TRUE(m_bAttached);
    }
    void fnStop() {
        if (m_bAttached)
            q32Detach();
        m_bAttached = false;
    }
    static std::string fnText(const CqPowerStr& text) { return static_cast<const char*>(text); }

    Folder m_Folder;
    bool m_bAttached = false;
};

struct Space {
    std::uint64_t m_nTotal = 0;
    std::uint64_t m_nAvailable = 0;
    bool operator==(const Space&) const = default;
};

Space fnAskSystem(const std::string& path) {
    struct statvfs facts {};
    if (::statvfs(path.c_str(), &facts) != 0)
        return {};
    return {std::uint64_t{facts.f_blocks} * facts.f_frsize,
            std::uint64_t{facts.f_bavail} * facts.f_frsize};
}

std::string fnSize(std::uint64_t bytes) {
    ULARGE_INTEGER size;
    size.QuadPart = bytes;
    CqPowerStr text;
    text.fnSizeString(size);
    return static_cast<const char*>(text);
}

} // namespace

TEST_F(PowerStrPosix, ARealVolumeReportsItsSpace) {
    fnStart();
    for (int attempt = 0;; ++attempt) {
        ASSERT_LT(attempt, 10000) << "the volume never stands still";
        const Space before = fnAskSystem(m_Folder.fnPath());
        CqPowerStr total;
        CqPowerStr available;
        total.fnDiskSpace(m_Folder.fnPath().c_str(), true);
        available.fnDiskSpace(m_Folder.fnName().c_str(), false);
        if (fnAskSystem(m_Folder.fnPath()) != before)
            continue; // other processes write to it
        ASSERT_GT(before.m_nTotal, 0u);
        EXPECT_EQ(fnText(total), fnSize(before.m_nTotal));
        EXPECT_EQ(fnText(available), fnSize(before.m_nAvailable));
        break;
    }
}

TEST_F(PowerStrPosix, ARealVolumeReportsItsShares) {
    fnStart();
    for (int attempt = 0;; ++attempt) {
        ASSERT_LT(attempt, 10000) << "the volume never stands still";
        const Space before = fnAskSystem(m_Folder.fnPath());
        CqPowerStr free;
        CqPowerStr used;
        free.fnDiskSpaceRatio(m_Folder.fnPath().c_str(), false);
        used.fnDiskSpaceRatio(m_Folder.fnName().c_str(), true);
        if (fnAskSystem(m_Folder.fnPath()) != before)
            continue; // other processes write to it
        EXPECT_EQ(fnText(free), fnRatioBySteps(before.m_nTotal, before.m_nAvailable, false));
        EXPECT_EQ(fnText(used), fnRatioBySteps(before.m_nTotal, before.m_nAvailable, true));
        break;
    }
}

TEST_F(PowerStrPosix, AMissingVolumeHasNoSpace) {
    fnStart();
    m_Folder.fnWrite("file", "x");
    CqPowerStr text;
    text.fnDiskSpace((m_Folder.fnPath("file") + "/below").c_str(), true);
    EXPECT_EQ(fnText(text), "0 KB");
}

TEST_F(PowerStrPosix, RealFilesReportTheirSizes) {
    fnStart();
    m_Folder.fnWrite("a.bin", std::string(1536, 'x'));
    CqPowerStr text;
    text.fnFileSize(m_Folder.fnName("a.bin").c_str());
    EXPECT_EQ(fnText(text), "1.5 KB");
    const int sparse = ::open(m_Folder.fnPath("big").c_str(), O_CREAT | O_WRONLY, 0600);
    ASSERT_GE(sparse, 0);
    const bool sized = ::ftruncate(sparse, off_t{5} << 30) == 0;
    ::close(sparse);
    ASSERT_TRUE(sized);
    text.fnFileSize(m_Folder.fnName("big").c_str());
    EXPECT_EQ(fnText(text), "2 GB") << "the 4 GB count as one";
    text.fnFileSize(m_Folder.fnName("missing").c_str());
    EXPECT_EQ(fnText(text), "0 KB");
    text.fnFileSize(m_Folder.fnPath().c_str());
    EXPECT_EQ(fnText(text), "0 KB") << "a directory is no file";
}

TEST_F(PowerStrPosix, ARealFilesTimeIsFormattedInTheLanguageOfTheUser) {
    m_Folder.fnWrite("a.txt", "x");
    const timespec times[2] = {{1709820309, 0}, {1709820309, 0}}; // 2024-03-07 14:05:09 UTC
    ASSERT_EQ(::utimensat(AT_FDCWD, m_Folder.fnPath("a.txt").c_str(), times, 0), 0);
    const struct {
        const char *m_szLocale, *m_szLong, *m_szShort;
    } cases[] = {
        {"C", "03/07/24 14:05:09", "03/07/24 14:05"},
        {"en_US.UTF-8", "03/07/2024 14:05:09", "03/07/2024 14:05"},
        {"de_DE.UTF-8", "07.03.2024 14:05:09", "07.03.2024 14:05"},
        {"ja_JP.UTF-8", "2024年03月07日 14時05分09秒", "2024年03月07日 14時05分"},
    };
    for (const auto& c : cases) {
        fnStart(c.m_szLocale);
        CqPowerStr text;
        text.fnFileDateTime(m_Folder.fnName("a.txt").c_str(), true, true);
        EXPECT_EQ(fnText(text), c.m_szLong) << c.m_szLocale;
        text.fnFileDateTime(m_Folder.fnName("a.txt").c_str(), true, false);
        EXPECT_EQ(fnText(text), c.m_szShort) << c.m_szLocale;
    }
}

TEST_F(PowerStrPosix, TheClockIsThatOfTheLanguageUnless24HoursAreRequested) {
    const struct {
        const char *m_szLocale, *m_szLong, *m_szShort;
    } cases[] = {
        {"C", "03/07/24 14:05:09", "03/07/24 14:05"},
        {"en_US.UTF-8", "03/07/2024 02:05:09 PM", "03/07/2024 02:05 PM"},
        {"de_DE.UTF-8", "07.03.2024 14:05:09", "07.03.2024 14:05"},
        {"ja_JP.UTF-8", "2024年03月07日 14時05分09秒", "2024年03月07日 14時05分"},
    };
    for (const auto& c : cases) {
        fnStart(c.m_szLocale);
        CqPowerStr text;
        text.fnDateTimeString(CTime(1709820309), false, true);
        EXPECT_EQ(fnText(text), c.m_szLong) << c.m_szLocale;
        text.fnDateTimeString(CTime(1709820309), false, false);
        EXPECT_EQ(fnText(text), c.m_szShort) << c.m_szLocale;
    }
}

TEST_F(PowerStrPosix, ADateIsInTheCodePageOfTheLanguage) {
    fnStart("ja_JP.SJIS");
    CqPowerStr text;
    text.fnDateTimeString(CTime(1709820309), true, false);
    EXPECT_EQ(fnText(text), "2024\x94\x4E"
                            "03\x8C\x8E"
                            "07\x93\xFA 14\x8E\x9E"
                            "05\x95\xAA");
}

TEST_F(PowerStrPosix, ARealFileOpenedElsewhereHasNoSize) {
    fnStart();
    m_Folder.fnWrite("a.bin", std::string(1536, 'x'));
    CqPowerStr text;
    for (const unsigned mode :
         {CFile::modeRead | CFile::shareDenyWrite, CFile::modeWrite | CFile::shareExclusive}) {
        const CFile theirs(m_Folder.fnName("a.bin").c_str(), mode);
        text.fnFileSize(m_Folder.fnName("a.bin").c_str());
        EXPECT_EQ(fnText(text), "0 KB") << mode;
    }
    text.fnFileSize(m_Folder.fnName("a.bin").c_str());
    EXPECT_EQ(fnText(text), "1.5 KB") << "they have closed it";
}

TEST_F(PowerStrPosix, ADirectoryHasNoDate) {
    fnStart();
    CqPowerStr text("as it was");
    text.fnFileDateTime(m_Folder.fnPath().c_str(), true, true);
    text.fnFileDateTime(m_Folder.fnName("missing").c_str(), true, true);
    EXPECT_EQ(fnText(text), "as it was");
}

TEST_F(PowerStrPosix, AFileOpenForWritingHasNoDateAndOneOpenForReadingHas) {
    fnStart();
    m_Folder.fnWrite("a.txt", "x");
    CqPowerStr text("as it was");
    {
        const CFile writer(m_Folder.fnName("a.txt").c_str(),
                           CFile::modeWrite | CFile::shareExclusive);
        text.fnFileDateTime(m_Folder.fnName("a.txt").c_str(), true, true);
        EXPECT_EQ(fnText(text), "as it was");
    }
    const CFile reader(m_Folder.fnName("a.txt").c_str(), CFile::modeRead | CFile::shareDenyWrite);
    text.fnFileDateTime(m_Folder.fnName("a.txt").c_str(), true, true);
    EXPECT_NE(fnText(text), "as it was");
}

TEST_F(PowerStrPosix, ShiftJisPathsAreSplitBetweenCharacters) {
    fnStart("ja_JP.SJIS");
    CqPowerStr text;
    text.fnSplitFileName("/srv/a\\\x83\x5c.txt");
    EXPECT_EQ(fnText(text), "\x83\x5c.txt");
}
