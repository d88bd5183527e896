#include "platforms/headless/headless.h"
#include "platforms/posix/posix.h"
#include "platforms/posix/ViewGuard_p.h"
#include "tests/platforms/PosixScratchTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace q32::test;

namespace {

constexpr std::uint32_t kSize = 300001; // not a multiple of pages or blocks

std::uint64_t fnCountMappedBytes() {
    std::uint64_t pages = 0;
    std::ifstream facts("/proc/self/statm");
    for (int i = 0; i < 3; ++i)
        facts >> pages;
    return pages * 4096;
}

/// Writes a view, part by part, with a trim after each.
/// @return  the most bytes of files that were mapped in
std::uint64_t fnWriteAndTrim(const CqPlatform& platform, const Buffer& buffer) {
    constexpr std::uint32_t kPart = 1u << 20;
    std::uint64_t most = 0;
    for (std::uint32_t at = 0; at < buffer.m_nSize; at += kPart) {
        for (std::uint32_t i = at; i < at + kPart; ++i)
            buffer.m_pView[i] = static_cast<char>(i * 7 + i / 251);
        q32PosixTrimViews(platform);
        most = std::max(most, fnCountMappedBytes());
    }
    return most;
}

} // namespace

TEST(PosixScratch, ABufferPassesThroughItsStepsAndLeavesNothing) {
    const Folder folder;
    const auto scratch = fnNewService();
    {
        Buffer buffer(*scratch, folder.fnName(), kSize);
        ASSERT_NE(buffer.m_pView, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.m_pView) %
                      static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE)),
                  0u);
        EXPECT_TRUE(std::all_of(buffer.m_pView, buffer.m_pView + kSize,
                                [](char byte) { return byte == 0; }));
        std::memset(buffer.m_pView, 'x', kSize);
        EXPECT_EQ(folder.fnCount(), 1u);
    }
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixScratch, PagesThatFitInMemoryStayAfterAWalk) {
    const Folder folder;
    const auto scratch = fnNewService();
    constexpr std::uint32_t kPages = 300;
    Buffer buffer(*scratch, folder.fnName(), kPages * 4096);
    ASSERT_NE(buffer.m_pView, nullptr);
    std::memset(buffer.m_pView, 'x', buffer.m_nSize);
    for (int i = 0; i < 100; ++i)
        scratch->fnAdvise(VIEW_DONE, buffer.m_pView, buffer.m_nSize);
    scratch->fnAdvise(VIEW_DONE, buffer.m_pView - 1, 1); // not part of a view
    std::vector<unsigned char> pages(kPages);
    ASSERT_EQ(::mincore(buffer.m_pView, buffer.m_nSize, pages.data()), 0);
    EXPECT_TRUE(std::all_of(pages.begin(), pages.end(), [](unsigned char p) { return p & 1; }));
}

TEST(PosixScratch, UnknownMemoryIsNoLimit) {
    const Folder folder;
    constexpr std::uint32_t kBytes = 40u << 20;
    const auto residentPages = [](const Buffer& buffer) {
        std::vector<unsigned char> pages(kBytes / 4096);
        EXPECT_EQ(::mincore(buffer.m_pView, kBytes, pages.data()), 0);
        return std::count_if(pages.begin(), pages.end(), [](unsigned char p) { return p & 1; });
    };
    const auto ample = fnNewServiceOfMemory<std::uint64_t{1} << 40>();
    const auto unknown = fnNewServiceOfMemory<0>();
    const auto scarce = fnNewServiceOfMemory<4u << 20>();
    std::vector<std::ptrdiff_t> touched;
    std::vector<std::ptrdiff_t> left;
    for (const auto& scratch : {ample, unknown, scarce}) {
        const Buffer buffer(*scratch, folder.fnName(), kBytes);
        ASSERT_NE(buffer.m_pView, nullptr);
        touched.push_back(residentPages(buffer));
        std::memset(buffer.m_pView, 'x', kBytes);
        for (std::uint32_t at = 0; at < kBytes; at += 1u << 20)
            scratch->fnAdvise(VIEW_DONE, buffer.m_pView + at, 1u << 20);
        left.push_back(residentPages(buffer));
    }
    EXPECT_EQ(touched[1], touched[0]);
    EXPECT_LE(touched[2], touched[0]);
    EXPECT_EQ(left[0], kBytes / 4096);
    EXPECT_EQ(left[1], kBytes / 4096);
}

TEST(PosixScratch, PagesThatReplaceLostOnesKeepWhatIsWrittenToThem) {
    const Folder folder;
    EXPECT_EQ(fnInChild([&]() -> std::string {
                  constexpr std::uint32_t kBytes = 40u << 20;
                  Q32_WANT(q32::posix::ViewGuard::fnInstall());
                  CqPosixScratch scratch(
                      std::make_shared<q32::posix::CodePage>(""),
                      [] { return std::uint64_t{4} << 20; }, true);
                  const Buffer buffer(scratch, folder.fnName(), kBytes);
                  Q32_WANT(buffer.m_pView);
                  Q32_WANT(::truncate(fnNative(buffer.m_Name).c_str(), 0) == 0);
                  std::memset(buffer.m_pView, 'x', kBytes);
                  Q32_WANT(scratch.fnCountLosses(buffer.m_pView) == 1);
                  for (std::uint32_t at = 0; at < kBytes; at += 1u << 20)
                      scratch.fnAdvise(VIEW_DONE, buffer.m_pView + at, 1u << 20);
                  Q32_WANT(std::all_of(buffer.m_pView, buffer.m_pView + kBytes,
                                       [](char byte) { return byte == 'x'; }));
                  return "";
              }),
              "");
}

TEST(PosixScratch, LimitedViewsAreUnmappedAndKeepTheirBytes) {
    const Folder folder;
    constexpr std::uint32_t kBytes = 48u << 20;
    constexpr std::uint32_t kLimit = 8u << 20;
    constexpr std::uint32_t kSlack = 4u << 20; // what is written between two trims, and more
    const CqPlatform platform = q32PosixPlatform();
    const std::uint64_t before = fnCountMappedBytes();
    for (const bool limited : {false, true}) {
        q32PosixLimitViews(platform, limited ? before + kLimit : 0);
        const Buffer buffer(*platform.m_pScratch, folder.fnName(), kBytes);
        ASSERT_NE(buffer.m_pView, nullptr);
        const std::uint64_t most = fnWriteAndTrim(platform, buffer);
        if (limited)
            EXPECT_LT(most, before + kLimit + kSlack);
        else
            EXPECT_GE(most, before + kBytes - kSlack);
        bool kept = true;
        for (std::uint32_t i = 0; i < kBytes; ++i)
            kept = kept && buffer.m_pView[i] == static_cast<char>(i * 7 + i / 251);
        EXPECT_TRUE(kept);
    }
    q32PosixLimitViews(q32HeadlessPlatform(), 1);
    q32PosixTrimViews(q32HeadlessPlatform());
}

TEST(PosixScratch, ATrimLeavesPagesThatReplaceLostOnes) {
    const Folder folder;
    EXPECT_EQ(fnInChild([&]() -> std::string {
                  constexpr std::uint32_t kBytes = 4u << 20;
                  CqPosixOptions options;
                  options.m_bGuardViews = true;
                  const CqPlatform platform = q32PosixPlatform(options);
                  q32PosixLimitViews(platform, 1);
                  const Buffer buffer(*platform.m_pScratch, folder.fnName(), kBytes);
                  Q32_WANT(buffer.m_pView);
                  Q32_WANT(::truncate(fnNative(buffer.m_Name).c_str(), 0) == 0);
                  std::memset(buffer.m_pView, 'x', kBytes);
                  Q32_WANT(platform.m_pScratch->fnCountLosses(buffer.m_pView) == 1);
                  q32PosixTrimViews(platform);
                  Q32_WANT(std::all_of(buffer.m_pView, buffer.m_pView + kBytes,
                                       [](char byte) { return byte == 'x'; }));
                  return "";
              }),
              "");
}

TEST(PosixScratch, BytesWrittenToTheViewAreInTheFile) {
    const Folder folder;
    const auto scratch = fnNewService();
    const Buffer buffer(*scratch, folder.fnName(), kSize);
    ASSERT_NE(buffer.m_pView, nullptr);
    for (std::uint32_t i = 0; i < kSize; ++i)
        buffer.m_pView[i] = static_cast<char>(i * 7 + i / 251);
    const std::string inFile =
        folder.fnRead(std::filesystem::path(fnNative(buffer.m_Name)).filename());
    ASSERT_EQ(inFile.size(), kSize);
    EXPECT_EQ(std::memcmp(inFile.data(), buffer.m_pView, kSize), 0);
}

TEST(PosixScratch, ANameIsItsPrefixWithRandomDigitsAndTheEndingTmp) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string first;
    std::string second;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", first));
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", second));
    EXPECT_NE(first, second);
    ASSERT_EQ(first.substr(0, folder.fnName().size()), folder.fnName());
    const std::string name = first.substr(folder.fnName().size());
    ASSERT_EQ(name.size(), 3U + 16U + 4U);
    EXPECT_EQ(name.substr(0, 3), "~qd");
    EXPECT_EQ(name.substr(3, 16).find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(name.substr(19), ".tmp");
}

TEST(PosixScratch, OnlyItsOwnerMayReadAScratchFile) {
    const Folder folder;
    const auto scratch = fnNewService();
    const mode_t before = ::umask(0);
    const Buffer buffer(*scratch, folder.fnName(), kSize);
    ::umask(before);
    EXPECT_EQ(fnFacts(buffer.m_Name).st_mode & 07777, 0600u);
}

TEST(PosixScratch, TheBlocksAreReservedBeforeAnythingIsWritten) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_TRUE(scratch->fnSetSize(file, kSize));
    EXPECT_EQ(fnFacts(name).st_size, off_t{kSize});
    EXPECT_GE(fnFacts(name).st_blocks * 512, off_t{kSize});
    ASSERT_TRUE(scratch->fnSetSize(file, 5000)) << "smaller";
    EXPECT_EQ(fnFacts(name).st_size, 5000);
    ASSERT_TRUE(scratch->fnSetSize(file, 0));
    EXPECT_EQ(fnFacts(name).st_size, 0);
    scratch->fnClose(file);
    EXPECT_FALSE(scratch->fnSetSize(file, 1)) << "a closed handle";
}

TEST(PosixScratch, ANameReplacedByALinkIsNotFollowed) {
    const Folder folder;
    const auto scratch = fnNewService();
    folder.fnWrite("victim", "precious");
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    ::unlink(fnNative(name).c_str());
    ASSERT_EQ(::symlink(folder.fnPath("victim").c_str(), fnNative(name).c_str()), 0);
    EXPECT_EQ(scratch->fnOpen(name.c_str()), kNoFile) << "as made";
    EXPECT_EQ(scratch->fnOpen(name.c_str()), kNoFile) << "afresh";
    EXPECT_EQ(folder.fnRead("victim"), "precious");
}

TEST(PosixScratch, ANameReplacedByAnotherFileIsRefused) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const std::string path = fnNative(name);
    const auto swap = [&] {
        folder.fnWrite("other", "other");
        std::filesystem::rename(folder.fnPath("other"), path);
    };
    swap();
    EXPECT_EQ(scratch->fnOpen(name.c_str()), kNoFile);

    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    std::filesystem::rename(fnNative(name), path);
    EXPECT_EQ(scratch->fnReopen(file, name.c_str()), kNoFile) << "gone";
    EXPECT_FALSE(scratch->fnSetSize(file, 1)) << "the old handle is closed all the same";
}

TEST(PosixScratch, AFileReopenedKeepsItsLengthAndTheOldHandleIsClosed) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_TRUE(scratch->fnSetSize(file, kSize));
    const CqFileHandle again = scratch->fnReopen(file, name.c_str());
    ASSERT_NE(again, kNoFile);
    EXPECT_EQ(fnFacts(name).st_size, off_t{kSize});
    EXPECT_EQ(scratch->fnReopen(file, name.c_str()), kNoFile);
    EXPECT_TRUE(scratch->fnSetSize(again, 10));
    scratch->fnClose(again);
}

TEST(PosixScratch, AFileInUseCannotBeOpenedAgain) {
    const Folder folder;
    const auto scratch = fnNewService();
    const Buffer buffer(*scratch, folder.fnName(), kSize);
    ASSERT_NE(buffer.m_pView, nullptr);
    EXPECT_EQ(scratch->fnOpen(buffer.m_Name.c_str()), kNoFile);
    EXPECT_EQ(fnNewService()->fnOpen(buffer.m_Name.c_str()), kNoFile);
    EXPECT_EQ(fnNewService()->fnDelete(buffer.m_Name.c_str()), false);
    EXPECT_TRUE(fnStands(buffer.m_Name));
}

TEST(PosixScratch, AClosedFileCanBeOpenedAgain) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    scratch->fnClose(scratch->fnOpen(name.c_str()));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    EXPECT_NE(file, kNoFile);
    scratch->fnClose(file);
    EXPECT_EQ(scratch->fnOpen(folder.fnName("missing").c_str()), kNoFile);
    EXPECT_EQ(scratch->fnOpen(folder.fnName().c_str()), kNoFile) << "a directory";
}

TEST(PosixScratch, AMappingNeverReachesBeyondItsFile) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_TRUE(scratch->fnSetSize(file, kSize));
    EXPECT_EQ(scratch->fnCreateMapping(file, kSize + 1), kNoMapping);
    EXPECT_EQ(scratch->fnCreateMapping(file, 0), kNoMapping);
    EXPECT_EQ(scratch->fnCreateMapping(file + 1, kSize), kNoMapping) << "no such file";
    const CqMappingHandle mapping = scratch->fnCreateMapping(file, kSize);
    ASSERT_NE(mapping, kNoMapping);
    EXPECT_EQ(scratch->fnMapView(mapping, kSize + 1), nullptr);
    EXPECT_EQ(scratch->fnMapView(mapping, 0), nullptr);
    EXPECT_EQ(scratch->fnMapView(mapping + 1, kSize), nullptr) << "no such mapping";
    ASSERT_EQ(::truncate(fnNative(name).c_str(), 100), 0);
    EXPECT_EQ(scratch->fnMapView(mapping, kSize), nullptr) << "the file was cut meanwhile";
    scratch->fnCloseMapping(mapping);
    EXPECT_EQ(scratch->fnMapView(mapping, kSize), nullptr) << "closed";
    scratch->fnClose(file);
}

TEST(PosixScratch, BothSeparatorsAreAccepted) {
    const Folder folder;
    const auto scratch = fnNewService();
    for (const std::string& directory : {folder.fnPath() + '/', folder.fnPath() + '\\'}) {
        const Buffer buffer(*scratch, directory, kSize);
        EXPECT_NE(buffer.m_pView, nullptr) << directory;
        EXPECT_EQ(folder.fnCount(), 1u);
    }
}

TEST(PosixScratch, AMissingOrForbiddenDirectoryGivesNoName) {
    const Folder folder;
    std::string name = "as before";
    EXPECT_FALSE(fnNewService()->fnCreateName(folder.fnName("missing\\").c_str(), "~qd", name));
    EXPECT_EQ(name, "as before");
    ::chmod(folder.fnPath().c_str(), 0555);
    EXPECT_EQ(fnAsNobody([&]() -> std::string {
                  std::string made;
                  Q32_WANT(!fnNewService()->fnCreateName(folder.fnName().c_str(), "~qd", made));
                  return "";
              }),
              "");
    ::chmod(folder.fnPath().c_str(), 0700);
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixScratch, WithoutDescriptorsEverythingFailsAndNoFileRemains) {
    const Folder folder;
    EXPECT_EQ(fnInChild([&]() -> std::string {
                  const auto scratch = fnNewService();
                  const rlimit limit{3, 3};
                  Q32_WANT(::setrlimit(RLIMIT_NOFILE, &limit) == 0);
                  std::string name;
                  Q32_WANT(!scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
                  Q32_WANT(scratch->fnOpen(folder.fnName("any").c_str()) == kNoFile);
                  return "";
              }),
              "");
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixScratch, ABufferTakesOneDescriptorAndReleasesIt) {
    const Folder folder;
    const auto scratch = fnNewService();
    const auto open = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = open();
    {
        const Buffer first(*scratch, folder.fnName(), kSize);
        const Buffer second(*scratch, folder.fnName(), kSize);
        EXPECT_EQ(open(), before + 2);
    }
    EXPECT_EQ(open(), before);
}

TEST(PosixScratch, ADeletedNameLeavesNoDescriptorBehind) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    EXPECT_EQ(fnNewService()->fnDelete(name.c_str()), false) << "held from its creation on";
    EXPECT_TRUE(scratch->fnDelete(name.c_str()));
    EXPECT_FALSE(fnStands(name));
    EXPECT_FALSE(scratch->fnDelete(name.c_str())) << "gone";
}
