#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace q32::test;

namespace {

std::shared_ptr<CqFileService> fnFiles(const CqPosixOptions& options = {}) {
    return q32PosixPlatform(options).m_pFiles;
}

bool fnPut(const Folder& folder, const std::string& name, const std::string& text) {
    return fnFiles()->fnUpdateText(folder.fnName(name).c_str(), [&](std::string& all) {
        all = text;
        return true;
    });
}

std::string fnTake(const Folder& folder, const std::string& name) {
    std::string text = "as before";
    return fnFiles()->fnReadText(folder.fnName(name).c_str(), text) ? text : "(unread) " + text;
}

mode_t fnMode(const std::string& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

/// A change that doesn't fit must leave only the old text.
std::string fnFailToGrow(const std::string& directory) {
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string name = directory + "\\Qkz.cfg";
    const auto put = [&](const std::string& text) {
        return files->fnUpdateText(name.c_str(), [&](std::string& all) {
            all = text;
            return true;
        });
    };
    Q32_WANT(put("[VMPolicy]\nMemPercent=50\n"));
    // Fills the disk, if there is one, with another file, up to a small rest.
    CQ_FILE_CAUSE cause{};
    const auto filler =
        files->fnOpen((directory + "\\filler").c_str(), {true, true, true, false}, cause);
    const std::string block(1 << 16, 'x');
    for (int i = 0; i < 1000 && filler->fnWrite(block.data(), block.size()) == FILE_CAUSE_NONE; ++i)
        continue;
    Q32_WANT(!put(std::string(4 << 20, 'y')));
    std::string text;
    Q32_WANT(files->fnReadText(name.c_str(), text));
    Q32_WANT(text == "[VMPolicy]\nMemPercent=50\n");
    Q32_WANT(files->fnFind((directory + "\\.q32save-*").c_str()).empty());
    return "";
}

} // namespace

TEST(PosixText, AMissingTextIsNotReadAndIsEditedAsEmpty) {
    const Folder folder;
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), "(unread) as before");
    EXPECT_TRUE(fnFiles()->fnUpdateText(folder.fnName("Qkz.cfg").c_str(), [](std::string& all) {
        EXPECT_EQ(all, "");
        all = "a=1\n";
        return true;
    }));
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), "a=1\n");
    EXPECT_EQ(fnMode(folder.fnPath("Qkz.cfg")), 0600u);
}

TEST(PosixText, AnyBytesPassUnchanged) {
    const Folder folder;
    std::string bytes(300000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 31 + i / 253);
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", bytes));
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), bytes);
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", ""));
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), "");
}

TEST(PosixText, SixteenMegabytesAreReadAndOneByteMoreIsNot) {
    const Folder folder;
    constexpr std::size_t kMax = std::size_t{16} << 20;
    folder.fnWrite("Qkz.cfg", std::string(kMax, 'x'));
    EXPECT_EQ(fnTake(folder, "Qkz.cfg").size(), kMax);
    folder.fnWrite("Qkz.cfg", std::string(kMax + 1, 'x'));
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), "(unread) as before");
    EXPECT_FALSE(fnPut(folder, "Qkz.cfg", "small")) << "what can't be read is not overwritten";
    EXPECT_EQ(folder.fnRead("Qkz.cfg").size(), kMax + 1);
    EXPECT_FALSE(fnPut(folder, "new.cfg", std::string(kMax + 1, 'x')));
    EXPECT_FALSE(std::filesystem::exists(folder.fnPath("new.cfg")));
}

TEST(PosixText, AFileThatReportsNoLengthIsStillRead) {
    std::string text;
    ASSERT_TRUE(fnFiles()->fnReadText("/proc/self\\status", text));
    EXPECT_NE(text.find("\nVmSize:"), std::string::npos);
}

TEST(PosixText, PipesAndDirectoriesAreRefusedWithoutBlocking) {
    const Folder folder;
    ASSERT_EQ(::mkfifo(folder.fnPath("pipe").c_str(), 0600), 0);
    std::filesystem::create_directory(folder.fnPath("folder"));
    for (const char* name : {"pipe", "folder"}) {
        EXPECT_EQ(fnTake(folder, name), "(unread) as before");
        EXPECT_FALSE(fnPut(folder, name, "x"));
    }
}

TEST(PosixText, AnEditWithoutAChangeTouchesNothing) {
    const Folder folder;
    const auto noChange = [](std::string& all) {
        all = "other";
        return false;
    };
    EXPECT_TRUE(fnFiles()->fnUpdateText(folder.fnName("Qkz.cfg").c_str(), noChange));
    EXPECT_FALSE(std::filesystem::exists(folder.fnPath("Qkz.cfg")));
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", "text"));
    EXPECT_TRUE(fnFiles()->fnUpdateText(folder.fnName("Qkz.cfg").c_str(), noChange));
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), "text");
}

TEST(PosixText, AnEditThatThrowsLeavesTheTextAndReleasesTheLock) {
    const Folder folder;
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", "text"));
    EXPECT_THROW(fnFiles()->fnUpdateText(folder.fnName("Qkz.cfg").c_str(),
                                         [](std::string& all) -> bool {
                                             all = "half";
                                             throw std::bad_alloc();
                                         }),
                 std::bad_alloc);
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), "text");
    EXPECT_TRUE(fnPut(folder, "Qkz.cfg", "next"));
}

TEST(PosixText, TheModeOfAFileIsPreserved) {
    const Folder folder;
    folder.fnWrite("Qkz.cfg", "old");
    ::chmod(folder.fnPath("Qkz.cfg").c_str(), 0664);
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", "new"));
    EXPECT_EQ(fnMode(folder.fnPath("Qkz.cfg")), 0664u);
    EXPECT_EQ(folder.fnCount(), 2u) << "the text and its lock";
}

TEST(PosixText, ALinkedTextIsReplacedAtItsTarget) {
    const Folder folder;
    std::filesystem::create_directory(folder.fnPath("dots"));
    folder.fnWrite("dots/real.cfg", "old");
    std::filesystem::create_symlink("dots/real.cfg", folder.fnPath("second"));
    std::filesystem::create_symlink(folder.fnPath("second"), folder.fnPath("Qkz.cfg"));
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", "new"));
    EXPECT_EQ(folder.fnRead("dots/real.cfg"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.fnPath("Qkz.cfg")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.fnPath("second")));

    std::filesystem::create_symlink("dots/later.cfg", folder.fnPath("dangling"));
    ASSERT_TRUE(fnPut(folder, "dangling", "first"));
    EXPECT_EQ(folder.fnRead("dots/later.cfg"), "first");
}

TEST(PosixText, ARingOfLinksIsRefused) {
    const Folder folder;
    std::filesystem::create_symlink("b", folder.fnPath("a"));
    std::filesystem::create_symlink("a", folder.fnPath("b"));
    EXPECT_FALSE(fnPut(folder, "a", "x"));
    EXPECT_EQ(folder.fnCount(), 2u);
}

TEST(PosixText, AKilledWritersLeftoverIsDeletedAndALinkOfItsNameIsNotFollowed) {
    const Folder folder;
    folder.fnWrite(".q32save-0123456789abcdef", "half a te");
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", "text"));
    EXPECT_EQ(folder.fnCount(), 2u);
    folder.fnWrite("victim", "precious");
    std::filesystem::create_symlink("victim", folder.fnPath(".q32save-0123456789abcdef"));
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", "more"));
    EXPECT_EQ(folder.fnRead("victim"), "precious");
    EXPECT_EQ(fnTake(folder, "Qkz.cfg"), "more");
}

TEST(PosixText, TwoProcessesLoseNoneOfEachOthersChanges) {
    const Folder folder;
    constexpr int kRounds = 100;
    const auto count = [&]() -> std::string {
        for (int i = 0; i < kRounds; ++i)
            Q32_WANT(fnFiles()->fnUpdateText(folder.fnName("count").c_str(), [](std::string& all) {
                all = std::to_string(std::atoi(all.c_str()) + 1);
                return true;
            }));
        return "";
    };
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(count().empty() ? 0 : 1);
    EXPECT_EQ(count(), "");
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fnTake(folder, "count"), std::to_string(2 * kRounds));
}

TEST(PosixText, AReaderSeesTheOldTextOrTheNewOneNeverAMixture) {
    const Folder folder;
    const std::string a(200000, 'a');
    const std::string b(100000, 'b');
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", a));
    const pid_t child = ::fork();
    if (child == 0) {
        bool done = true;
        for (int i = 0; i < 50; ++i)
            done = fnPut(folder, "Qkz.cfg", i % 2 ? a : b) && done;
        ::_exit(done ? 0 : 1);
    }
    int status = -1;
    int wrong = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
        const std::string text = fnTake(folder, "Qkz.cfg");
        wrong += text != a && text != b;
    }
    EXPECT_EQ(status, 0);
    EXPECT_EQ(wrong, 0);
}

TEST(PosixText, WaitingForALockThatIsNeverReleasedTimesOut) {
    const Folder folder;
    ASSERT_TRUE(fnPut(folder, "Qkz.cfg", "text"));
    Holder holder([&]() -> std::string {
        const int lock = ::open(folder.fnPath("Qkz.cfg.lock").c_str(), O_RDWR);
        Q32_WANT(::flock(lock, LOCK_EX) == 0);
        return "";
    });
    ASSERT_EQ(holder.fnFound(), "");
    CqPosixOptions options;
    options.m_SettingsPatience = std::chrono::milliseconds(50);
    bool asked = false;
    const auto edit = [&](std::string&) { return asked = true; };
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(fnFiles(options)->fnUpdateText(folder.fnName("Qkz.cfg").c_str(), edit));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, options.m_SettingsPatience);
    EXPECT_FALSE(asked);
    holder.fnKill();
    EXPECT_TRUE(fnFiles(options)->fnUpdateText(folder.fnName("Qkz.cfg").c_str(), edit));
}

TEST(PosixText, AFullDiskLeavesTheOldText) {
    const Folder folder;
    const std::string disk = folder.fnPath("disk");
    std::filesystem::create_directory(disk);
    std::string found;
    if (!fnOnSmallDisk(
            disk, [&] { return fnFailToGrow(disk); }, found))
        found = fnWithFileLimit(1 << 20, [&] { return fnFailToGrow(disk); });
    EXPECT_EQ(found, "");
}

TEST(PosixText, AFileSizeLimitLeavesTheOldText) {
    const Folder folder;
    EXPECT_EQ(fnWithFileLimit(1 << 20, [&] { return fnFailToGrow(folder.fnPath()); }), "");
}

TEST(PosixText, AnUnwritableFolderOrFileIsRefused) {
    const Folder folder;
    folder.fnWrite("Qkz.cfg", "old");
    ::chmod(folder.fnPath("Qkz.cfg").c_str(), 0444);
    const auto fails = [&]() -> std::string {
        Q32_WANT(!fnPut(folder, "Qkz.cfg", "new"));
        return "";
    };
    ::chmod(folder.fnPath().c_str(), 0555);
    EXPECT_EQ(fnAsNobody(fails), "") << "folder";
    EXPECT_EQ(folder.fnCount(), 1u);
    ::chmod(folder.fnPath().c_str(), 0777);
    EXPECT_EQ(fnAsNobody(fails), "") << "file";
    EXPECT_EQ(folder.fnRead("Qkz.cfg"), "old");
    EXPECT_EQ(folder.fnCount(), 2u) << "the text and its lock";
}
