#include "tests/services/DumpTestTools.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

using DumpBin = DumpTest;

/// Cause of the file exception that `work` throws; none if it throws none.
template <typename Work>
CQ_FILE_CAUSE fnCauseOf(Work&& work) {
    try {
        work();
    } catch (CFileException* failure) {
        const CQ_FILE_CAUSE cause = failure->m_cause;
        failure->Delete();
        return cause;
    }
    return FILE_CAUSE_NONE;
}

} // namespace

TEST_F(DumpBin, ANewStreamHasNoBuffer) {
    OpenDumpBin dump;
    EXPECT_EQ(dump.m_pBuffer, nullptr);
    EXPECT_EQ(dump.m_nCapacity, 0u);
    dump << static_cast<const char*>(nullptr) << "";
    dump.fnOutputString(nullptr);
    dump.fnOutputString("");
    dump.fnClear();
    EXPECT_EQ(dump.m_pBuffer, nullptr) << "nothing was put out";
}

TEST_F(DumpBin, EachLineFeedGetsACarriageReturnBeforeIt) {
    OpenDumpBin dump;
    dump << "a\nb\n\nc";
    EXPECT_EQ(dump.fnGetText(), "a\r\nb\r\n\r\nc");
}

TEST_F(DumpBin, ACarriageReturnBeforeALineFeedIsDoubled) {
    OpenDumpBin dump;
    dump << "a\r\nb\rc";
    EXPECT_EQ(dump.fnGetText(), "a\r\r\nb\rc");
}

TEST_F(DumpBin, PlainOutputIsNotChanged) {
    OpenDumpBin dump;
    dump.fnOutputString("a\nb");
    EXPECT_EQ(dump.fnGetText(), "a\nb");
}

TEST_F(DumpBin, NumbersAreDecimal) {
    OpenDumpBin dump;
    dump << static_cast<unsigned char>(200) << " " << static_cast<unsigned short>(65535) << " "
         << -7 << " " << -8L << " " << 255ul;
    EXPECT_EQ(dump.fnGetText(), "200 65535 -7 -8 255");
}

TEST_F(DumpBin, TheExtremesFit) {
    OpenDumpBin dump;
    dump << std::numeric_limits<int>::min() << " " << std::numeric_limits<long>::min() << " "
         << std::numeric_limits<unsigned long>::max() << " " << 0xFFFFFFFFu;
    EXPECT_EQ(dump.fnGetText(), std::to_string(std::numeric_limits<int>::min()) + " " +
                                    std::to_string(std::numeric_limits<long>::min()) + " " +
                                    std::to_string(std::numeric_limits<unsigned long>::max()) +
                                    " 0xFFFFFFFF");
}

TEST_F(DumpBin, AnUnsignedIntIsHexadecimalUnlikeTheOthers) {
    OpenDumpBin dump;
    dump << 255u << " " << 0u << " " << 255ul;
    EXPECT_EQ(dump.fnGetText(), "0xFF 0x0 255");
}

TEST_F(DumpBin, AFloatHasTwoPlacesUntilTheFormatOfAllStreamsChanges) {
    OpenDumpBin dump;
    OpenDumpBin other;
    dump << 1.5f << " " << 2.25;
    EXPECT_EQ(dump.fnGetText(), "1.50 2.25");
    other.fnSetFloatFormat("<%.3e>");
    dump << 1.5f << 2.25;
    EXPECT_EQ(dump.fnGetText(), "1.50 2.25<1.500e+00><2.250e+00>");
}

TEST_F(DumpBin, ANumberHasADecimalPointInEveryLocale) {
    const char* const formats[] = {"%.02f",     "<%%%8.2f>%%", "%-8.1f|",  "%+09.3f", "% .4e",
                                   "%'.1f, ",   "%#.0f",       "%10.0f|",  "%a",      "%G",
                                   "1,5: %.1f", "%08.2f",      "no number"};
    const double numbers[] = {1.5, -1234567.891, 0.0, 1e300,
                              std::numeric_limits<double>::infinity()};
    const auto print = [&] {
        OpenDumpBin dump;
        for (const char* format : formats) {
            dump.fnSetFloatFormat(format);
            EXPECT_STREQ(OpenDumpBin::m_szFloatFmt, format);
            for (const double number : numbers)
                dump << number << "\n";
        }
        return dump.fnGetText();
    };
    const std::string expected = print();
    EXPECT_TRUE(expected.starts_with("1.50\r\n-1234567.89\r\n"));
#ifdef _WIN32
    constexpr const char* kLocales[] = {"German_Germany.1252"}; // a comma
#else
    ::setenv("LOCPATH", Q32_TEST_LOCALES, 1);
    constexpr const char* kLocales[] = {"de_DE.UTF-8", "ps_AF.UTF-8"}; // and one of two bytes
#endif
    for (const char* locale : kLocales) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr) << locale;
        char shown[16];
        std::snprintf(shown, sizeof(shown), "%.1f", 1.5);
        EXPECT_STRNE(shown, "1.5") << locale;
        EXPECT_EQ(print(), expected) << locale;
    }
    std::setlocale(LC_ALL, "C");
#ifndef _WIN32
    ::unsetenv("LOCPATH");
#endif
}

TEST_F(DumpBin, AFormatBeyondFifteenBytesIsRefused) {
    OpenDumpBin dump;
    dump.fnSetFloatFormat("123456789012%.1f"); // 16 bytes
    EXPECT_STREQ(OpenDumpBin::m_szFloatFmt, "%.02f");
    dump.fnSetFloatFormat(nullptr);
    dump.fnSetFloatFormat("");
    EXPECT_STREQ(OpenDumpBin::m_szFloatFmt, "%.02f");
    dump.fnSetFloatFormat("12345678901%.1f"); // 15
    dump << 1.5;
    EXPECT_EQ(dump.fnGetText(), "123456789011.5");
    dump.fnSetFloatFormat("%f");
    dump.fnSetFloatFormat(OpenDumpBin::m_szFloatFmt);
    EXPECT_STREQ(OpenDumpBin::m_szFloatFmt, "%f");
}

TEST_F(DumpBin, ALongFloatIsWrittenCompletely) {
    OpenDumpBin dump;
    dump << std::numeric_limits<double>::max();
    EXPECT_EQ(dump.m_nLength, 309u + 3u);
}

TEST_F(DumpBin, TheFirstBufferHas1024BytesOrFitsTheText) {
    OpenDumpBin little;
    little << std::string(1023, 'x').c_str();
    EXPECT_EQ(little.m_nCapacity, 1024u);
    OpenDumpBin exact;
    exact << std::string(1024, 'x').c_str();
    EXPECT_EQ(exact.m_nCapacity, 1025u);
    EXPECT_TRUE(exact.fnHasCleanTail());
    OpenDumpBin large;
    large << std::string(5000, 'x').c_str();
    EXPECT_EQ(large.m_nCapacity, 5001u);
    EXPECT_EQ(large.fnGetText(), std::string(5000, 'x'));
    EXPECT_TRUE(large.fnHasCleanTail());
}

TEST_F(DumpBin, ASmallBufferGrowsByATenthAndTheText) {
    OpenDumpBin dump;
    dump << std::string(1000, 'x').c_str();
    dump << std::string(30, 'y').c_str();
    EXPECT_EQ(dump.m_nCapacity, 1024u + 102u + 30u);
    EXPECT_EQ(dump.fnGetText(), std::string(1000, 'x') + std::string(30, 'y'));
    EXPECT_TRUE(dump.fnHasCleanTail());
}

TEST_F(DumpBin, TheBufferGrowsWhenTheEndMarkWouldNotFit) {
    OpenDumpBin dump;
    dump << std::string(1000, 'x').c_str();
    dump << std::string(23, 'y').c_str();
    EXPECT_EQ(dump.m_nCapacity, 1024u) << "1023 bytes and the end mark";
    dump << "z";
    EXPECT_EQ(dump.m_nCapacity, 1024u + 102u + 1u);
}

TEST_F(DumpBin, ABufferAboveOneMegabyteGrowsByAHundredth) {
    OpenDumpBin at;
    at << std::string(0xFFFFF, 'x').c_str();
    ASSERT_EQ(at.m_nCapacity, 0x100000u);
    at << "ab";
    EXPECT_EQ(at.m_nCapacity, 0x100000u + 104857u + 2u) << "still a tenth";
    OpenDumpBin above;
    above << std::string(0x1FFFFF, 'x').c_str();
    ASSERT_EQ(above.m_nCapacity, 0x200000u);
    above << "abc";
    EXPECT_EQ(above.m_nCapacity, 0x200000u + 20971u + 3u);
    EXPECT_TRUE(above.fnHasCleanTail());
}

TEST_F(DumpBin, RandomOutputsFollowTheGrowthRule) {
    Random random(8401);
    for (int round = 0; round < 20; ++round) {
        OpenDumpBin dump;
        std::string text;
        std::uint64_t capacity = 0;
        for (int i = 0; i < 300; ++i) {
            const std::string piece(1 + random() % (random() % 8 == 0 ? 3000u : 60u),
                                    static_cast<char>('a' + i % 26));
            if (text.size() + piece.size() >= capacity)
                capacity = capacity == 0 ? std::max<std::uint64_t>(1024, piece.size() + 1)
                                         : capacity + capacity / 10 + piece.size();
            text += piece;
            dump.fnOutputString(piece.c_str());
            ASSERT_EQ(dump.m_nCapacity, capacity);
        }
        EXPECT_EQ(dump.fnGetText(), text);
        EXPECT_TRUE(dump.fnHasCleanTail());
    }
}

TEST_F(DumpBin, AHexDumpHasTheAddressAtTheStartOfEachLine) {
    unsigned char bytes[] = {0x00, 0x0A, 0xFF, 0x7F, 0x80};
    OpenDumpBin dump;
    dump.fnHexDump("%p:", bytes, 5, 4);
    char expected[100];
    std::snprintf(expected, sizeof(expected), "%p: 00 0A FF 7F\r\n%p: 80\r\n",
                  static_cast<void*>(bytes), static_cast<void*>(bytes + 4));
    EXPECT_EQ(dump.fnGetText(), expected);
}

TEST_F(DumpBin, AFullLastLineEndsOnce) {
    unsigned char bytes[] = {1, 2, 3, 4};
    OpenDumpBin dump;
    dump.fnHexDump("", bytes, 4, 2);
    EXPECT_EQ(dump.fnGetText(), " 01 02\r\n 03 04\r\n");
}

TEST_F(DumpBin, AHexDumpCanHaveOneBytePerLine) {
    unsigned char bytes[] = {1, 2};
    OpenDumpBin dump;
    dump.fnHexDump("#\n", bytes, 2, 1);
    EXPECT_EQ(dump.fnGetText(), "#\r\n 01\r\n#\r\n 02\r\n");
}

TEST_F(DumpBin, AHexDumpOfNothingIsNothing) {
    unsigned char bytes[] = {1};
    OpenDumpBin dump;
    dump.fnHexDump("x", bytes, 0, 4);
    dump.fnHexDump("x", nullptr, 0, 4);
    dump.fnHexDump("x", bytes, -3, 4);
    EXPECT_EQ(dump.m_pBuffer, nullptr);
}

TEST_F(DumpBin, WithoutALineLengthAllBytesAreOnOneLine) {
    unsigned char bytes[] = {1, 2, 3};
    OpenDumpBin dump;
    dump.fnHexDump("a", bytes, 3, 0);
    dump.fnHexDump(nullptr, bytes, 3, -1);
    EXPECT_EQ(dump.fnGetText(), "a 01 02 03\r\n 01 02 03\r\n");
}

TEST_F(DumpBin, FlushingWritesTheTextAndKeepsIt) {
    m_World->m_pDisks->fnPutFile("C:\\log.txt", "a longer text that was there before");
    OpenDumpBin dump;
    dump << "one\ntwo";
    dump.fnFlush("C:\\log.txt");
    EXPECT_EQ(m_World->m_pDisks->fnGetFile("C:\\log.txt"), "one\r\ntwo");
    EXPECT_EQ(dump.fnGetText(), "one\r\ntwo");
}

TEST_F(DumpBin, FlushingBeforeAnyOutputMakesNoFile) {
    CqDumpBin dump;
    dump.fnFlush("C:\\log.txt");
    EXPECT_EQ(m_World->m_pDisks->fnGetFile("C:\\log.txt"), std::nullopt);
    EXPECT_EQ(m_World->m_pFiles->m_Open.fnGetCount(), 0u);
}

TEST_F(DumpBin, FlushingAClearedStreamMakesAnEmptyFile) {
    OpenDumpBin dump;
    dump << "text";
    dump.fnClear();
    EXPECT_EQ(dump.m_nCapacity, 1024u);
    EXPECT_EQ(dump.m_nLength, 0u);
    EXPECT_TRUE(dump.fnHasCleanTail());
    dump.fnFlush("C:\\log.txt");
    EXPECT_EQ(m_World->m_pDisks->fnGetFile("C:\\log.txt"), "");
    dump << "new";
    EXPECT_EQ(dump.fnGetText(), "new");
}

TEST_F(DumpBin, AFailedFlushReportsItsCause) {
    OpenDumpBin dump;
    dump << "text";
    const auto flush = [&] { dump.fnFlush("C:\\log.txt"); };
    for (const CQ_FILE_CAUSE cause : {FILE_CAUSE_ACCESS_DENIED, FILE_CAUSE_SHARING_VIOLATION}) {
        m_World->m_pDisks->fnFailCreate("C:\\log.txt", cause);
        EXPECT_EQ(fnCauseOf(flush), cause);
    }
    m_World->m_pDisks->fnFailCreate("C:\\log.txt", FILE_CAUSE_NONE);
    m_World->m_pFiles->m_pStream->m_Write.fnFail();
    EXPECT_EQ(fnCauseOf(flush), FILE_CAUSE_HARD_IO);
    m_World->m_pFiles->m_pStream->m_Close.fnFail();
    EXPECT_EQ(fnCauseOf(flush), FILE_CAUSE_HARD_IO) << "what closing tells is not lost";
    m_World->m_pDisks->fnSetFree("C:\\", 3);
    EXPECT_EQ(fnCauseOf([&] { dump.fnFlush("C:\\new.txt"); }), FILE_CAUSE_DISK_FULL);
    EXPECT_EQ(dump.fnGetText(), "text");
}

TEST_F(DumpBin, AFileThatIsOpenElsewhereCannotBeFlushedTo) {
    OpenDumpBin dump;
    dump << "text";
    m_World->m_pDisks->fnPutFile("C:\\log.txt", "theirs");
    const CFile theirs("C:\\log.txt", CFile::modeRead | CFile::shareDenyNone);
    EXPECT_EQ(fnCauseOf([&] { dump.fnFlush("C:\\log.txt"); }), FILE_CAUSE_SHARING_VIOLATION);
}

TEST_F(DumpBin, WithoutMemoryTheTextIsUnchanged) {
    OpenDumpBin dump;
    dump << "kept";
    const char* buffer = dump.m_pBuffer;
    const std::string more(2000, 'x');
    for (std::size_t nth = 1; nth <= 2; ++nth) { // the lines, and the buffer
        CqAllocationFailure failure(nth);
        EXPECT_TRUE(fnRaisesMemoryException([&] { dump << more.c_str(); })) << nth;
        failure.fnEnd();
        EXPECT_EQ(dump.fnGetText(), "kept");
        EXPECT_EQ(dump.m_pBuffer, buffer);
    }
    dump << more.c_str();
    EXPECT_EQ(dump.fnGetText(), "kept" + more);
}

TEST_F(DumpBin, ATextThatWouldPassFourGigabytesIsRefused) {
    OpenDumpBin dump;
    dump << "kept";
    dump.m_nCapacity = dump.m_nLength = 0xFFFFFFF0u; // simulates that length
    EXPECT_TRUE(fnRaisesMemoryException([&] { dump << "a few more bytes than there are left"; }));
    dump.m_nCapacity = 1024;
    dump.m_nLength = 4;
    EXPECT_EQ(dump.fnGetText(), "kept");
}

TEST_F(DumpBin, AHexDumpWithoutMemoryKeepsWhatItHasWritten) {
    unsigned char bytes[40] = {};
    OpenDumpBin whole;
    whole.fnHexDump("an address beyond any small buffer: %p", bytes, sizeof(bytes), 16);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        OpenDumpBin dump;
        const bool raised = fnRaisesMemoryException([&] {
            dump.fnHexDump("an address beyond any small buffer: %p", bytes, sizeof(bytes), 16);
        });
        const bool failed = failure.fnHappened();
        failure.fnEnd();
        EXPECT_EQ(raised, failed);
        EXPECT_EQ(whole.fnGetText().compare(0, dump.m_nLength, dump.fnGetText()), 0);
        EXPECT_EQ(dump.m_nLength < whole.m_nLength, failed);
    });
    EXPECT_GE(failures, 3u) << "an address for each line";
}

TEST_F(DumpBin, AFlushWithoutMemoryLeavesTheText) {
    OpenDumpBin dump;
    dump << "text";
    fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool raised =
            fnRaisesMemoryException([&] { dump.fnFlush("C:\\Temp\\a log with a long name.txt"); });
        const bool failed = failure.fnHappened();
        failure.fnEnd();
        EXPECT_EQ(raised, failed);
        EXPECT_EQ(dump.fnGetText(), "text");
    });
    EXPECT_EQ(m_World->m_pDisks->fnGetFile("C:\\Temp\\a log with a long name.txt"), "text");
}

TEST_F(DumpBin, AFileWithoutANameCannotBeFlushedTo) {
    OpenDumpBin dump;
    dump << "text";
    const CQ_FILE_CAUSE cause = fnCauseOf([&] { dump.fnFlush(""); });
    EXPECT_NE(cause, FILE_CAUSE_NONE);
    EXPECT_EQ(fnCauseOf([&] { dump.fnFlush(nullptr); }), cause);
}

TEST(DumpBinAlone, AStreamThatOutlivesTheLibraryCannotBeFlushed) {
    const auto world = q32HeadlessWorld();
    OpenDumpBin dump;
    ASSERT_TRUE(q32Attach(world->fnPlatform()));
    dump << "text";
    q32Detach();
    EXPECT_EQ(fnCauseOf([&] { dump.fnFlush("C:\\log.txt"); }), FILE_CAUSE_GENERIC);
    EXPECT_EQ(dump.fnGetText(), "text");
    EXPECT_EQ(world->m_pDisks->fnGetFile("C:\\log.txt"), std::nullopt);
}

TEST_F(DumpBin, AFirstOutputWithoutMemoryLeavesNoBuffer) {
    OpenDumpBin dump;
    CqAllocationFailure failure(1, true);
    EXPECT_TRUE(fnRaisesMemoryException([&] { dump << 5; }));
    EXPECT_TRUE(fnRaisesMemoryException([&] { dump << 1.5; }));
    EXPECT_TRUE(fnRaisesMemoryException([&] { dump << "text"; }));
    failure.fnEnd();
    EXPECT_EQ(dump.m_pBuffer, nullptr);
    EXPECT_EQ(dump.m_nCapacity, 0u);
}
