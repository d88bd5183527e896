/// @file
/// Files are replaced whole or not at all, whatever fails and whenever the process is killed.

#include "tests/platforms/Win32TestTools.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using namespace q32::test;

namespace {

std::shared_ptr<CqFileService> fnFiles(std::chrono::milliseconds patience = {}) {
    CqWin32Options options;
    options.m_nCodePage = CP_UTF8;
    options.m_SettingsPatience = patience;
    return q32Win32Platform(q32Win32Windows(), options).m_pFiles;
}

/// Begins to replace a file and writes the new one.
std::unique_ptr<CqFileReplacement> fnBegin(CqFileService& files, const std::string& name,
                                           const std::string& text) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    auto made = files.fnOpenReplacement(name.c_str(), cause);
    if (made) {
        EXPECT_EQ(made->fnGetStream().fnWrite(text.data(), text.size()), FILE_CAUSE_NONE);
    }
    return made;
}

bool fnPut(CqFileService& files, const std::string& name, const std::string& text) {
    return files.fnUpdateText(name.c_str(), [&](std::string& all) {
        all = text;
        return true;
    });
}

/// Opens a file like another program.
HANDLE fnHold(const std::wstring& path, DWORD share) {
    return ::CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
}

const ChildWork kKilledWhileSaving("saving", [](const std::string& name) {
    const auto files = fnFiles();
    const auto made = fnBegin(*files, name, "half");
    ::TerminateProcess(::GetCurrentProcess(), made ? 42 : 1);
});

TEST(Win32Saving, NobodyReadsTheNewFileBeforeItHasItsName) {
    const Folder folder;
    const auto files = fnFiles();
    const auto made = fnBegin(*files, folder.fnPath("a"), "secret");
    ASSERT_NE(made, nullptr);
    WIN32_FIND_DATAW entry;
    const HANDLE search = ::FindFirstFileW(folder.fnWide(L".q32save-*").c_str(), &entry);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    ::FindClose(search);
    EXPECT_EQ(fnHold(folder.fnWide(entry.cFileName),
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(made->fnCommit(), FILE_CAUSE_NONE);
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), "secret");
    EXPECT_EQ(folder.fnList(), std::vector<std::wstring>{L"a"});
}

TEST(Win32Saving, AKilledProcessLeavesTheOldFileAndNothingElse) {
    const Folder folder;
    fnWriteFile(folder.fnWide(L"a"), "old");
    EXPECT_TRUE(kKilledWhileSaving.fnRun(folder.fnPath("a")));
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), "old");
    EXPECT_EQ(folder.fnList(), std::vector<std::wstring>{L"a"});
}

TEST(Win32Saving, WhatWasLeftBehindIsDeletedUnlessSomebodyHasItOpen) {
    const Folder folder;
    const std::wstring abandoned = L".q32save-0123456789abcdef";
    const std::wstring held = L".q32save-fedcba9876543210";
    const std::wstring other = L".q32save-mine";
    for (const std::wstring& name : {abandoned, held, other})
        fnWriteFile(folder.fnWide(name), "x");
    const HANDLE holder = fnHold(folder.fnWide(held), FILE_SHARE_READ);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(fnPut(*fnFiles(), folder.fnPath("b"), "text"));
    EXPECT_EQ(folder.fnList(), (std::vector<std::wstring>{held, other, L"b", L"b.lock"}));
    ::CloseHandle(holder);
}

TEST(Win32Saving, AFileThatSomebodyReadsIsNotReplacedByAPicture) {
    const Folder folder;
    const auto files = fnFiles();
    fnWriteFile(folder.fnWide(L"a"), "old");
    const HANDLE reader = fnHold(folder.fnWide(L"a"), FILE_SHARE_READ | FILE_SHARE_WRITE);
    const auto made = fnBegin(*files, folder.fnPath("a"), "new");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->fnCommit(), FILE_CAUSE_SHARING_VIOLATION);
    ::CloseHandle(reader);
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), "old");
}

TEST(Win32Saving, SettingsWaitForWhoReadsThemButNotForEver) {
    const Folder folder;
    fnWriteFile(folder.fnWide(L"a"), "old");
    const HANDLE reader = fnHold(folder.fnWide(L"a"), FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_FALSE(fnPut(*fnFiles(std::chrono::milliseconds(20)), folder.fnPath("a"), "new"));
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), "old");
    std::thread release([reader] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ::CloseHandle(reader);
    });
    EXPECT_TRUE(fnPut(*fnFiles(std::chrono::seconds(20)), folder.fnPath("a"), "new"));
    release.join();
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), "new");
}

TEST(Win32Saving, AReaderOfSettingsWaitsForWhoHasThemButNotForEver) {
    const Folder folder;
    fnWriteFile(folder.fnWide(L"a"), "text");
    std::string text;
    const HANDLE writer = fnHold(folder.fnWide(L"a"), 0);
    EXPECT_FALSE(
        fnFiles(std::chrono::milliseconds(20))->fnReadText(folder.fnPath("a").c_str(), text));
    std::thread release([writer] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ::CloseHandle(writer);
    });
    EXPECT_TRUE(fnFiles(std::chrono::seconds(20))->fnReadText(folder.fnPath("a").c_str(), text));
    release.join();
    EXPECT_EQ(text, "text");
    EXPECT_FALSE(fnFiles(std::chrono::hours(1))->fnReadText(folder.fnPath("b").c_str(), text))
        << "nobody waits for a file that is missing";
}

TEST(Win32Saving, ChangesOfSettingsByManyThreadsAreAllThere) {
    const Folder folder;
    const auto files = fnFiles(std::chrono::seconds(60));
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&] {
            for (int i = 0; i < 10; ++i)
                EXPECT_TRUE(files->fnUpdateText(folder.fnPath("a").c_str(), [](std::string& text) {
                    text += 'x';
                    return true;
                }));
        });
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), std::string(40, 'x'));
}

TEST(Win32Saving, ReadersAndWritersOfSettingsDisturbNobody) {
    constexpr std::size_t kChanges = 40;
    const Folder folder;
    const auto files = fnFiles(std::chrono::seconds(60));
    const std::string name = folder.fnPath("a");
    fnWriteFile(folder.fnWide(L"a"), "x");
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 2; ++reader)
        readers.emplace_back([&] {
            std::string text;
            for (std::size_t seen = 0; seen <= kChanges; seen = text.size()) {
                if (!files->fnReadText(name.c_str(), text)) {
                    ADD_FAILURE() << "not read after " << seen << " changes, " << ::GetLastError();
                    break;
                }
                EXPECT_GE(text.size(), seen);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    for (std::size_t i = 0; i < kChanges; ++i)
        EXPECT_TRUE(files->fnUpdateText(name.c_str(),
                                        [](std::string& text) {
                                            text += 'x';
                                            return true;
                                        }))
            << i << ", " << ::GetLastError();
    const bool isComplete = fnReadFile(folder.fnWide(L"a")).size() == kChanges + 1;
    EXPECT_TRUE(isComplete);
    if (!isComplete)
        fnWriteFile(folder.fnWide(L"a"), std::string(kChanges + 1, 'x')); // ends the readers
    for (std::thread& reader : readers)
        reader.join();
}

TEST(Win32Saving, SettingsThatAppearWhileTheyAreMadeAreNotReplaced) {
    const Folder folder;
    EXPECT_FALSE(fnFiles()->fnUpdateText(folder.fnPath("a").c_str(), [&](std::string& text) {
        EXPECT_EQ(text, "");
        fnWriteFile(folder.fnWide(L"a"), "another's");
        text = "ours";
        return true;
    }));
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), "another's");
}

TEST(Win32Saving, ATextBeyondTheLimitIsNeitherReadNorWritten) {
    const Folder folder;
    const auto files = fnFiles();
    const std::string most(std::size_t{16} << 20, 'x');
    EXPECT_TRUE(fnPut(*files, folder.fnPath("a"), most));
    std::string text;
    EXPECT_TRUE(files->fnReadText(folder.fnPath("a").c_str(), text));
    EXPECT_EQ(text.size(), most.size());
    EXPECT_FALSE(fnPut(*files, folder.fnPath("a"), most + 'x'));
    fnWriteFile(folder.fnWide(L"b"), most + 'x');
    EXPECT_FALSE(files->fnReadText(folder.fnPath("b").c_str(), text));
    EXPECT_FALSE(fnPut(*files, folder.fnPath("b"), "short")) << "and never overwritten";
}

TEST(Win32Saving, AFailedAllocationLeavesTheOldFileAndNothingElse) {
    const Folder folder;
    const auto files = fnFiles();
    const std::string name = folder.fnPath("a");
    fnWriteFile(folder.fnWide(L"a"), "old");
    bool failed = true;
    int failures = 0;
    for (std::size_t nth = 1; failed; ++nth) {
        {
            const CqAllocationFailure failure(nth);
            try {
                CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
                const auto made = files->fnOpenReplacement(name.c_str(), cause);
                if (made && made->fnGetStream().fnWrite("new", 3) == FILE_CAUSE_NONE)
                    made->fnCommit();
            } catch (const std::bad_alloc&) {
            }
            failed = failure.fnHappened();
        }
        failures += failed;
        const std::string found = fnReadFile(folder.fnWide(L"a"));
        EXPECT_TRUE(found == "old" || (found == "new" && (!failed || nth > 1))) << nth;
        if (failed) {
            EXPECT_EQ(folder.fnList(), std::vector<std::wstring>{L"a"}) << nth;
        }
    }
    EXPECT_GT(failures, 2);
    EXPECT_EQ(fnReadFile(folder.fnWide(L"a")), "new");
}

} // namespace
