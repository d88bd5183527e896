/// @file
/// Processes killed before and after each of their calls of the system, and at random times: what
/// they leave is swept, and what they were writing is as before or as after.

#include "tests/faults/FaultTest.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Random.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace q32::test {
namespace {

constexpr std::size_t kLongKills = 1000; ///< of each work, in the long form
constexpr std::size_t kShortKills = 60;

/// What a child does, and the parent examines.
struct KilledWork {
    const char* m_szName;
    std::function<void()> m_Work;
    std::function<std::string()> m_Check; ///< empty: nothing is wrong
};

/// How many of the killed processes left a file, to see that kills hit the work.
struct KillTally {
    std::size_t m_nKills = 0;
    std::size_t m_nLeft = 0;
};

/// In the long form on a disk, where a save takes longer.
const char* fnRoot() {
    return fnIsLongRun() ? "/var/tmp" : kFaultRoot;
}

void fnAwait(pid_t child) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        << "it ended with " << WEXITSTATUS(status);
}

void fnKillAt(const KilledWork& work, std::size_t nth, bool after) {
    const pid_t child = ::fork();
    if (child == 0) {
        fnKillAtCall(nth, after);
        for (;;)
            work.m_Work();
    }
    fnAwait(child);
}

/// Kills it at a random time after its first round, which takes as long as the machine is busy.
void fnKillLater(const KilledWork& work, useconds_t delay) {
    int started[2];
    ASSERT_EQ(::pipe(started), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        work.m_Work();
        if (::write(started[1], "", 1) != 1)
            ::_exit(1);
        for (;;)
            work.m_Work();
    }
    char byte;
    ASSERT_EQ(::read(started[0], &byte, 1), 1);
    ::close(started[0]);
    ::close(started[1]);
    ::usleep(delay);
    ::kill(child, SIGKILL);
    fnAwait(child);
}

std::size_t fnCountCalls(const KilledWork& work) {
    const CallCount count;
    work.m_Work();
    return CallCount::fnOfSystem();
}

/// Runs all kills. `left` counts the files that a killed process left.
KillTally fnKillEverywhere(const KilledWork& work, const std::function<std::size_t()>& left) {
    work.m_Work();
    // Two rounds, since the second one starts from the result of the first.
    const std::size_t calls = fnCountCalls(work) + fnCountCalls(work);
    const std::size_t kills = fnIsLongRun() ? kLongKills : kShortKills;
    const std::size_t step = fnIsLongRun() ? 1 : std::max<std::size_t>(1, 3 * calls / kills);
    KillTally tally;
    const auto examine = [&](const std::string& where) {
        tally.m_nLeft += left() != 0;
        ++tally.m_nKills;
        EXPECT_EQ(work.m_Check(), "") << work.m_szName << ", " << where;
    };
    for (std::size_t nth = 1; nth <= calls; nth += step)
        for (const bool after : {false, true}) {
            fnKillAt(work, nth, after);
            examine((after ? "after call " : "before call ") + std::to_string(nth));
        }
    Random random(9);
    while (tally.m_nKills < kills && !testing::Test::HasFailure()) {
        const useconds_t delay = random() % 6000;
        fnKillLater(work, delay);
        examine("after " + std::to_string(delay) + " microseconds");
    }
    if (fnIsLongRun())
        std::printf("%-10s %zu calls, %zu kills, %zu of them left something\n", work.m_szName,
                    calls, tally.m_nKills, tally.m_nLeft);
    return tally;
}

/// Entries whose names begin so.
std::size_t fnCountNames(const Folder& folder, const std::string& prefix) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.fnPath()))
        count += entry.path().filename().string().starts_with(prefix);
    return count;
}

std::string fnSave(CqFileService& files, const std::string& name, const std::string& text) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const auto made = files.fnOpenReplacement(name.c_str(), cause);
    Q32_WANT(made != nullptr);
    const std::size_t half = text.size() / 2;
    Q32_WANT(made->fnGetStream().fnWrite(text.data(), half) == FILE_CAUSE_NONE);
    Q32_WANT(made->fnGetStream().fnWrite(text.data() + half, text.size() - half) ==
             FILE_CAUSE_NONE);
    Q32_WANT(made->fnCommit() == FILE_CAUSE_NONE);
    return "";
}

TEST(Kills, ASavedFileIsTheOldOneOrTheNewOneAndLeftoversAreSwept) {
    const Folder folder{fnRoot()};
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string name = folder.fnName("picture");
    const std::string texts[2] = {std::string(70000, 'a'), std::string(50000, 'b')};
    const auto work = [&] {
        for (const std::string& text : texts)
            fnSave(*files, name, text);
    };
    const auto check = [&]() -> std::string {
        const std::string now = folder.fnRead("picture");
        Q32_WANT(now == texts[0] || now == texts[1]);
        Q32_WANT(fnSave(*files, name, texts[now == texts[0]]).empty());
        Q32_WANT(folder.fnCount() == 1);
        return "";
    };
    const KillTally tally =
        fnKillEverywhere({"save", work, check}, [&] { return fnCountNames(folder, ".q32save-"); });
    EXPECT_GT(tally.m_nLeft, 5u) << "no kill hit a save";
}

TEST(Kills, NoLineOfTheSettingsIsLost) {
    const Folder folder{fnRoot()};
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string name = folder.fnName("Qkz.cfg");
    const std::string lines = "[VMPolicy]\nMemPercent=50\n[Count]\nn=";
    ASSERT_TRUE(files->fnUpdateText(name.c_str(), [&](std::string& all) {
        all = lines + "0\n";
        return true;
    }));
    const auto work = [&] {
        files->fnUpdateText(name.c_str(), [&](std::string& all) {
            all = lines + std::to_string(std::stoi(all.substr(lines.size())) + 1) + "\n";
            return true;
        });
    };
    int counted = 0;
    const auto check = [&]() -> std::string {
        const std::string now = folder.fnRead("Qkz.cfg");
        Q32_WANT(now.starts_with(lines) && now.ends_with("\n"));
        const int count = std::stoi(now.substr(lines.size()));
        Q32_WANT(count >= counted);
        counted = count;
        work();
        Q32_WANT(folder.fnRead("Qkz.cfg") == lines + std::to_string(++counted) + "\n");
        Q32_WANT(folder.fnCount() == 2); // with the lock
        return "";
    };
    const KillTally tally = fnKillEverywhere({"settings", work, check},
                                             [&] { return fnCountNames(folder, ".q32save-"); });
    EXPECT_GT(tally.m_nLeft, 5u) << "no kill hit a change";
}

class ScratchKills : public FaultTest {};

TEST_F(ScratchKills, ScratchFilesAreSweptToNothing) {
    const auto work = [] {
        CqImage image(300, 200, 24, nullptr, 0);
        image.fnFill(CqColor(1, 2, 3, 255), nullptr, false);
        image.fnResample(100, 90, true, nullptr);
        CqImage copy(image);
        copy.fnRotate(90, CqColor(0, 0, 0, 255), nullptr, false, nullptr);
    };
    const auto check = [&]() -> std::string {
        const std::size_t left = fnCountNames(m_Folder, "~qd");
        Q32_WANT(m_Folder.fnCount() == left);
        Q32_WANT(q32PosixSweepScratchFiles(m_Folder.fnPath().c_str()) == left);
        Q32_WANT(m_Folder.fnCount() == 0);
        return "";
    };
    const KillTally tally =
        fnKillEverywhere({"scratch", work, check}, [&] { return fnCountNames(m_Folder, "~qd"); });
    EXPECT_GT(tally.m_nLeft, 5u) << "no kill hit an image";
}

} // namespace
} // namespace q32::test
