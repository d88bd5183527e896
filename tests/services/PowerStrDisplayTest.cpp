/// @file
/// Sizes, disk space and dates.

#include "tests/services/PowerStrTestTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <string>

namespace {

constexpr std::uint64_t kGiga = 1024 * 1024 * 1024;

class PowerStrDisplay : public AttachedTest {
protected:
    static std::string fnSize(std::uint64_t bytes) {
        ULARGE_INTEGER size;
        size.QuadPart = bytes;
        CqPowerStr text("old");
        text.fnSizeString(size);
        return static_cast<const char*>(text);
    }
    void fnAddDisk(const char* root, std::uint64_t total, std::uint64_t free) {
        CqHeadlessVolume volume;
        volume.m_szRoot = root;
        volume.m_nTotal = total;
        volume.m_nFree = free;
        m_World->m_pDisks->fnAddVolume(volume);
    }
    template <typename Place>
    static std::string fnSpace(Place place, bool total) {
        CqPowerStr text("old");
        text.fnDiskSpace(place, total);
        return static_cast<const char*>(text);
    }
    template <typename Place>
    static std::string fnRatio(Place place, bool used) {
        CqPowerStr text("old");
        text.fnDiskSpaceRatio(place, used);
        return static_cast<const char*>(text);
    }
    std::string fnRatioOf(std::uint64_t total, std::uint64_t free, bool used) {
        CqHeadlessVolume volume;
        volume.m_szRoot = "\\\\disk" + std::to_string(m_nDisks++) + "\\";
        volume.m_nTotal = total;
        volume.m_nFree = free;
        m_World->m_pDisks->fnAddVolume(volume);
        return fnRatio(volume.m_szRoot.c_str(), used);
    }
    std::string fnDate(const SYSTEMTIME& time, bool b24Hour, bool seconds) {
        CqPowerStr text("old");
        text.fnDateTimeString(time, b24Hour, seconds);
        return static_cast<const char*>(text);
    }

    int m_nDisks = 0;
};

constexpr SYSTEMTIME kTime{2024, 3, 4, 7, 14, 5, 9, 0};

/// The rule of the table, with wider arithmetic and independent formatting.
std::string fnSizeByTable(std::uint64_t bytes) {
    const std::uint64_t high = bytes >> 32;
    const std::uint64_t low = bytes & 0xFFFFFFFF;
    std::uint64_t unit = kGiga;
    std::uint64_t fractions = 100;
    const char* name = " GB";
    if (high == 0 && low < 0x40000000) {
        unit = low < 0x100000 ? 0x400 : 0x100000;
        fractions = 10;
        name = low < 0x100000 ? " KB" : " MB";
    }
    const std::uint64_t fraction = low % unit * fractions / unit;
    return std::to_string(low / unit + high) +
           (fraction ? "." + std::to_string(fraction) : std::string()) + name;
}

} // namespace

TEST_F(PowerStrDisplay, ASizeIsTruncatedToItsUnit) {
    EXPECT_EQ(fnSize(1536), "1.5 KB");
    EXPECT_EQ(fnSize(1023 * 1024 + 1023), "1023.9 KB");
    EXPECT_EQ(fnSize(1048575), "1023.9 KB");
    EXPECT_EQ(fnSize(1048576), "1 MB");
    EXPECT_EQ(fnSize(1500000), "1.4 MB");
    EXPECT_EQ(fnSize(1073741823), "1023.9 MB");
    EXPECT_EQ(fnSize(1073741824), "1 GB");
    EXPECT_EQ(fnSize(kGiga * 3 / 2), "1.50 GB");
}

TEST_F(PowerStrDisplay, ASizeBelowOneKilobyteStaysInKilobytes) {
    EXPECT_EQ(fnSize(0), "0 KB");
    EXPECT_EQ(fnSize(1), "0 KB");
    EXPECT_EQ(fnSize(102), "0 KB");
    EXPECT_EQ(fnSize(103), "0.1 KB");
    EXPECT_EQ(fnSize(500), "0.4 KB");
    EXPECT_EQ(fnSize(1023), "0.9 KB");
}

TEST_F(PowerStrDisplay, AFractionOfGigabytesIsNotPadded) {
    EXPECT_EQ(fnSize(1100000000), "1.2 GB");
    EXPECT_EQ(fnSize(kGiga + kGiga / 10 * 2), "1.19 GB");
}

TEST_F(PowerStrDisplay, FourGigabytesCountAsOne) {
    EXPECT_EQ(fnSize(4 * kGiga - 1), "3.99 GB");
    EXPECT_EQ(fnSize(4 * kGiga), "1 GB");
    EXPECT_EQ(fnSize(5 * kGiga), "2 GB");
    EXPECT_EQ(fnSize(8 * kGiga + 1), "2 GB");
}

TEST_F(PowerStrDisplay, ASizeWithTheTopBitOfItsGigabytesSetReadsNegative) {
    EXPECT_EQ(fnSize(std::uint64_t{0x80000000} << 32), "-2147483648 GB");
    EXPECT_EQ(fnSize(~std::uint64_t{0}), "2.99 GB") << "3 + 0xFFFFFFFF wraps";
}

TEST_F(PowerStrDisplay, RandomSizesFollowTheTable) {
    Random random(8301);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t wide = (std::uint64_t{random() >> 2} << 32) | random();
        const std::uint64_t bytes = wide >> random() % 62;
        ASSERT_EQ(fnSize(bytes), fnSizeByTable(bytes)) << bytes;
    }
}

TEST_F(PowerStrDisplay, ASizeOfUnsignedLongHas32Bits) {
    CqPowerStr text;
    text.fnSizeString(1536ul);
    EXPECT_STREQ(text, "1.5 KB");
    text.fnSizeString(~0ul);
    EXPECT_STREQ(text, "3.99 GB");
}

TEST_F(PowerStrDisplay, AFileReportsItsSizeAndTime) {
    m_World->m_pDisks->fnPutFile("C:\\a.txt", std::string(1536, 'x'));
    m_World->m_pDisks->fnSetTime("C:\\a.txt", 1709820309); // 2024-03-07 14:05:09 UTC
    CqPowerStr text;
    text.fnFileSize("C:\\a.txt");
    EXPECT_STREQ(text, "1.5 KB");
    text.fnFileDateTime("C:\\a.txt", true, true);
    EXPECT_STREQ(text, "3/7/2024 14:05:09");
    m_World->m_pLocale->fnSetTimeZone(60);
    text.fnFileDateTime("C:\\a.txt", false, false);
    EXPECT_STREQ(text, "3/7/2024 3:05 PM") << "local time";
}

TEST_F(PowerStrDisplay, AFileThatCannotBeOpenedHasNoSizeAndLeavesTheDate) {
    CqPowerStr text("as it was");
    text.fnFileDateTime("C:\\missing.txt", true, true);
    EXPECT_STREQ(text, "as it was");
    text.fnFileDateTime(nullptr, true, true);
    EXPECT_STREQ(text, "as it was");
    text.fnFileSize("C:\\missing.txt");
    EXPECT_STREQ(text, "0 KB");
    text = "as it was";
    text.fnFileSize(nullptr);
    EXPECT_STREQ(text, "0 KB");
}

TEST_F(PowerStrDisplay, AnOpenFileHasATimeButNoSize) {
    m_World->m_pDisks->fnPutFile("C:\\a.txt", std::string(1536, 'x'));
    CFile reader("C:\\a.txt", CFile::modeRead | CFile::shareDenyWrite);
    CqPowerStr text;
    text.fnFileSize("C:\\a.txt");
    EXPECT_STREQ(text, "0 KB");
    text.fnFileDateTime("C:\\a.txt", true, true);
    EXPECT_STREQ(text, "1/1/2000 00:00:00");
}

TEST_F(PowerStrDisplay, AFileOpenedExclusivelyHasNeitherTimeNorSize) {
    m_World->m_pDisks->fnPutFile("C:\\a.txt", std::string(1536, 'x'));
    const CFile writer("C:\\a.txt", CFile::modeWrite | CFile::shareExclusive);
    CqPowerStr text("as it was");
    text.fnFileDateTime("C:\\a.txt", true, true);
    EXPECT_STREQ(text, "as it was");
    text.fnFileSize("C:\\a.txt");
    EXPECT_STREQ(text, "0 KB");
}

TEST_F(PowerStrDisplay, AFileWithoutALocalTimeLeavesTheString) {
    m_World->m_pDisks->fnPutFile("C:\\a.txt", "x");
    m_World->m_pLocale->m_GetLocalTime.fnFail();
    CqPowerStr text("as it was");
    text.fnFileDateTime("C:\\a.txt", true, true);
    EXPECT_STREQ(text, "as it was");
}

TEST_F(PowerStrDisplay, ADiskReportsItsTotalAndAvailableSpace) {
    EXPECT_EQ(fnSpace("C:\\Temp", true), "2 GB");
    EXPECT_EQ(fnSpace("C:\\Temp\\", false), "1 GB");
    EXPECT_EQ(fnSpace(2u, true), "2 GB");
    EXPECT_EQ(fnSpace(2u, false), "1 GB");
}

TEST_F(PowerStrDisplay, AMissingDiskHasNoSpace) {
    for (const bool flag : {false, true}) {
        EXPECT_EQ(fnSpace("Q:\\", flag), "0 KB");
        EXPECT_EQ(fnSpace(16u, flag), "0 KB");
        EXPECT_EQ(fnRatio("Q:\\", flag), "0%");
        EXPECT_EQ(fnRatio(16u, flag), "0%");
        for (const unsigned drive : {26u, 58u, 256u + 2u, 0xFFFFFFFFu}) {
            EXPECT_EQ(fnSpace(drive, flag), "0 KB") << drive;
            EXPECT_EQ(fnRatio(drive, flag), "0%") << drive;
        }
        for (const char* none : {static_cast<const char*>(nullptr), ""}) {
            EXPECT_EQ(fnSpace(none, flag), "0 KB") << "a lone backslash is no disk";
            EXPECT_EQ(fnRatio(none, flag), "0%");
        }
    }
}

TEST_F(PowerStrDisplay, TheOldQueryMultipliesIn32Bits) {
    m_World->m_pFiles->fnSetWideSpaceQuery(false);
    // 8 sectors of 512 bytes, 0x100100 clusters: 0x100100000 bytes.
    m_World->m_pDisks->fnSetClusters("C:\\", {8, 512, 0x100, 0x100100});
    EXPECT_EQ(fnSpace("C:\\", true), "1 MB");
    EXPECT_EQ(fnSpace("C:\\", false), "1 MB");
    EXPECT_EQ(fnRatio("C:\\", false), "100%");
    EXPECT_EQ(m_World->m_pFiles->m_GetSpace.fnGetCount(), 0u);
}

TEST_F(PowerStrDisplay, SpaceFallsBackToTheOldQueryButAShareDoesNot) {
    m_World->m_pDisks->fnSetClusters("C:\\", {1, 512, 4, 8});
    m_World->m_pFiles->m_GetSpace.fnFail(1, CqHeadlessCalls::kForever);
    EXPECT_EQ(fnSpace("C:\\", true), "4 KB");
    EXPECT_EQ(fnSpace("C:\\", false), "2 KB");
    EXPECT_EQ(fnRatio("C:\\", false), "0%");
    EXPECT_EQ(fnRatio("C:\\", true), "0%");
    m_World->m_pFiles->m_GetClusters.fnFail(1, CqHeadlessCalls::kForever);
    EXPECT_EQ(fnSpace("C:\\", true), "0 KB");
}

TEST_F(PowerStrDisplay, AShareIsAnIntegerPercentage) {
    fnAddDisk("D:\\", 1000, 250);
    EXPECT_EQ(fnRatio("D:\\", false), "25%");
    EXPECT_EQ(fnRatio("D:\\", true), "75%");
    EXPECT_EQ(fnRatio(3u, true), "75%");
    EXPECT_EQ(fnRatioOf(3, 2, false), "66%") << "truncated";
    EXPECT_EQ(fnRatioOf(1000, 0, true), "100%");
    EXPECT_EQ(fnRatioOf(1000, 0, false), "0%");
}

TEST_F(PowerStrDisplay, AnEntirelyFreeDiskIsZeroPercentUsed) {
    EXPECT_EQ(fnRatioOf(1000, 1000, true), "0%");
    EXPECT_EQ(fnRatioOf(1000, 1000, false), "100%");
}

TEST_F(PowerStrDisplay, TheShareOfALargeDiskComesFromTheLow32BitsOnly) {
    // 5 GB with 4.5 GB free: low words 0x40000000 and 0x20000000, halved once.
    EXPECT_EQ(fnRatioOf(5 * kGiga, 4 * kGiga + kGiga / 2, false), "50%");
    // Used: 0x40000000 - 0x20000000.
    EXPECT_EQ(fnRatioOf(5 * kGiga, 4 * kGiga + kGiga / 2, true), "50%");
    // A free low word above the total's: the total becomes 0xFFFFFFFF, and 0x3FFFFFFF are used.
    EXPECT_EQ(fnRatioOf(5 * kGiga, 3 * kGiga, true), "24%");
    EXPECT_EQ(fnRatioOf(5 * kGiga, 3 * kGiga, false), "300%");
}

TEST_F(PowerStrDisplay, ADiskOfAMultipleOfFourGigabytesHasNoShare) {
    EXPECT_EQ(fnRatioOf(4 * kGiga, 2 * kGiga, false), "0%");
    EXPECT_EQ(fnRatioOf(4 * kGiga, 2 * kGiga, true), "49%") << "0x7FFFFFFF of 0xFFFFFFFF";
}

TEST_F(PowerStrDisplay, RandomSharesFollowTheSteps) {
    Random random(8302);
    for (int i = 0; i < 2000; ++i) {
        const std::uint64_t total = ((std::uint64_t{random()} << 32) | random()) >> random() % 63;
        const std::uint64_t free =
            total == 0 ? 0 : ((std::uint64_t{random()} << 32) | random()) % total;
        for (const bool used : {false, true})
            ASSERT_EQ(fnRatioOf(total, free, used), fnRatioBySteps(total, free, used))
                << total << ' ' << free << ' ' << used;
    }
}

TEST_F(PowerStrDisplay, ADateIsFollowedByTheTime) {
    EXPECT_EQ(fnDate(kTime, true, true), "3/7/2024 14:05:09");
    EXPECT_EQ(fnDate(kTime, true, false), "3/7/2024 14:05");
    EXPECT_EQ(fnDate(kTime, false, true), "3/7/2024 2:05:09 PM");
    EXPECT_EQ(fnDate(kTime, false, false), "3/7/2024 2:05 PM");
}

TEST_F(PowerStrDisplay, ADateThatCannotBeFormattedLeavesTheString) {
    m_World->m_pLocale->m_FormatDate.fnFail();
    EXPECT_EQ(fnDate(kTime, true, true), "old");
    m_World->m_pLocale->m_FormatTime.fnFail();
    EXPECT_EQ(fnDate(kTime, true, true), "old");
    EXPECT_EQ(fnDate({2024, 13, 0, 1, 0, 0, 0, 0}, true, true), "old");
    EXPECT_EQ(fnDate({2024, 12, 0, 1, 24, 0, 0, 0}, true, true), "old");
}

TEST_F(PowerStrDisplay, AMomentIsFormattedInLocalTime) {
    m_World->m_pLocale->fnSetTimeZone(-300);
    CqPowerStr text("old");
    text.fnDateTimeString(CTime(1709820309), true, true);
    EXPECT_STREQ(text, "3/7/2024 09:05:09");
    text.fnDateTimeString(CTime(-1), true, true);
    EXPECT_STREQ(text, "3/7/2024 09:05:09") << "not a representable time";
}

namespace {

/// A locale with very long dates, or very long times.
class WordyLocale : public CqLocaleService {
public:
    std::size_t m_nDate = 3;
    std::size_t m_nTime = 3;

    std::size_t fnGetCharBytes(const char*, std::size_t) override { return 1; }
    bool fnFormatDate(const SYSTEMTIME&, std::string& text) override {
        text.assign(m_nDate, 'd');
        return true;
    }
    bool fnFormatTime(const SYSTEMTIME&, UINT, std::string& text) override {
        text.assign(m_nTime, 't');
        return true;
    }
    bool fnGetLocalTime(std::int64_t, SYSTEMTIME&) override { return true; }
};

} // namespace

TEST(PowerStrWordyDates, EachPartHas259BytesAtMost) {
    const auto locale = std::make_shared<WordyLocale>();
    CqPlatform platform = q32HeadlessPlatform();
    platform.m_pLocale = locale;
    ASSERT_TRUE(q32Attach(platform));
    {
        CqPowerStr text("old");
        locale->m_nDate = locale->m_nTime = 259;
        text.fnDateTimeString(kTime, true, true);
        EXPECT_EQ(text.GetLength(), 519);
        text = "old";
        locale->m_nTime = 260;
        text.fnDateTimeString(kTime, true, true);
        EXPECT_STREQ(text, "old");
        locale->m_nTime = 3;
        locale->m_nDate = 260;
        text.fnDateTimeString(kTime, true, true);
        EXPECT_STREQ(text, "old");
    }
    q32Detach();
}

TEST_F(PowerStrDisplay, WithoutMemoryTheStringKeepsItsContent) {
    m_World->m_pDisks->fnPutFile("C:\\a.txt", "x");
    const struct {
        const char* m_szName;
        void (*m_pRun)(CqPowerStr&);
    } operations[] = {
        {"size", [](CqPowerStr& text) { text.fnSizeString(1500000ul); }},
        {"file size", [](CqPowerStr& text) { text.fnFileSize("C:\\a.txt"); }},
        {"file time", [](CqPowerStr& text) { text.fnFileDateTime("C:\\a.txt", true, true); }},
        {"space", [](CqPowerStr& text) { text.fnDiskSpace("C:\\a long directory\\", true); }},
        {"drive", [](CqPowerStr& text) { text.fnDiskSpace(2u, false); }},
        {"share", [](CqPowerStr& text) { text.fnDiskSpaceRatio("C:\\Temp", true); }},
        {"drive's share", [](CqPowerStr& text) { text.fnDiskSpaceRatio(2u, false); }},
        {"moment", [](CqPowerStr& text) { text.fnDateTimeString(CTime(0), true, true); }},
        {"time", [](CqPowerStr& text) { text.fnDateTimeString(kTime, true, true); }},
    };
    for (const auto& operation : operations) {
        for (std::size_t nth = 1;; ++nth) {
            CqPowerStr text("old");
            const CqPowerStr shared(text);
            CqAllocationFailure failure(nth);
            const bool raised = fnRaisesMemoryException([&] { operation.m_pRun(text); });
            const bool failed = failure.fnHappened();
            failure.fnEnd();
            EXPECT_EQ(raised, failed) << operation.m_szName << nth;
            EXPECT_EQ(text == "old", raised) << operation.m_szName << nth;
            EXPECT_STREQ(shared, "old") << operation.m_szName << nth;
            if (!failed) {
                EXPECT_GT(nth, 1u) << operation.m_szName;
                break;
            }
        }
    }
}
