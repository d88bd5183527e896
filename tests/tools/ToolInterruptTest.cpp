// What a run leaves when it is stopped.
#include "tests/tools/ToolTest.h"

#include <chrono>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <random>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// Work for about a second, with scratch files.
const ToolWords kWork = {"resize", "in.png", "1500x",    "+", "rotate",  "33",       "+",
                         "filter", "blur",   "--radius", "5", "out.png", "--memory", "1M"};

class ToolInterruptTest : public ToolTest {
protected:
    ToolInterruptTest() { fnMake("in.png", 600, 400, 24); }

    void fnExpectNothingLeft() const {
        EXPECT_EQ(fnListRests(), std::vector<std::string>());
        EXPECT_TRUE(fs::is_empty(fnPath("scratch")));
    }
};

TEST_F(ToolInterruptTest, LeavesNothingWhereverASignalStopsIt) {
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(fnRun(kWork), 0) << m_Errors;
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - start);
    const std::string done = fnGet("out.png");
    std::mt19937 random(7);
    int stopped = 0;
    for (int i = 0; i < 8; ++i) {
        // Sometimes there is an older file to be replaced.
        const std::string old = i % 2 == 0 ? "" : "older";
        fs::remove(fnPath("out.png"));
        if (!old.empty())
            fnPut("out.png", old);
        const int signal = i % 4 == 3 ? SIGTERM : SIGINT;
        const pid_t child = fnStart(kWork);
        std::this_thread::sleep_for(whole * (random() % 1000) / 1000);
        ::kill(child, signal);
        const int code = fnAwait(child);
        // Before it listens to signals, nothing has been made either.
        ASSERT_TRUE(code == 0 || code == 128 + signal || code == -signal) << code;
        stopped += code != 0;
        EXPECT_TRUE(fnGet("out.png") == (code == 0 ? done : old)) << code;
        fnExpectNothingLeft();
    }
    EXPECT_GT(stopped, 2);
}

/// A terminal of the tool's own.
class ToolTerminal {
public:
    /// @param become  runs the program in the child
    template <typename Become>
    explicit ToolTerminal(const Become& become) {
        m_nChild = ::forkpty(&m_nMaster, nullptr, nullptr, nullptr);
        if (m_nChild == 0)
            become();
    }
    ~ToolTerminal() { ::close(m_nMaster); }
    ToolTerminal(const ToolTerminal&) = delete;
    ToolTerminal& operator=(const ToolTerminal&) = delete;

    /// Reads until a text has come; false if the program ends before.
    bool fnAwait(const std::string& text) {
        while (m_Shown.find(text) == std::string::npos)
            if (!fnReadMore())
                return false;
        return true;
    }
    void fnType(const std::string& keys) const {
        ASSERT_EQ(::write(m_nMaster, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    tcflag_t fnGetMode() const {
        termios mode{};
        EXPECT_EQ(::tcgetattr(m_nMaster, &mode), 0);
        return mode.c_lflag & (ICANON | ECHO);
    }
    /// The exit code; reads what is left.
    int fnEnd() {
        while (fnReadMore()) {
        }
        int status = 0;
        ::waitpid(m_nChild, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    const std::string& fnGetShown() const { return m_Shown; }

private:
    bool fnReadMore() {
        char bytes[512];
        const ssize_t count = ::read(m_nMaster, bytes, sizeof bytes);
        if (count > 0)
            m_Shown.append(bytes, static_cast<std::size_t>(count));
        return count > 0;
    }

    int m_nMaster = -1;
    pid_t m_nChild = -1;
    std::string m_Shown;
};

class ToolTerminalTest : public ToolInterruptTest {
protected:
    /// Starts the tool behind a shell, which keeps the terminal open and shows its exit code.
    std::string fnWrite(const ToolWords& words) {
        std::string line = "'" + fnPath("program/q32").string() + "'";
        for (const std::string& word : words)
            line += " '" + word + "'";
        const std::string folder = m_Folder.string();
        fnPut("script", "cd '" + folder + "' && TMPDIR='" + folder + "/scratch' XDG_CONFIG_HOME='" +
                            folder + "/config'\nexport TMPDIR XDG_CONFIG_HOME\n" + line +
                            "\nprintf '<code %d>' $?\nread -r rest\n");
        return fnPath("script");
    }
};

TEST_F(ToolTerminalTest, EscStopsItAndTheTerminalIsAsBefore) {
    const std::string script = fnWrite(kWork);
    ToolTerminal terminal(
        [&] { ::execl("/bin/bash", "bash", script.c_str(), static_cast<char*>(nullptr)); });
    const tcflag_t before = terminal.fnGetMode();
    ASSERT_TRUE(terminal.fnAwait("resize")) << terminal.fnGetShown();
    EXPECT_EQ(terminal.fnGetMode(), 0U) << "keys come one by one, without echo";
    terminal.fnType("x\033[A"); // another key, and an arrow, whose first byte is that of Esc
    ASSERT_TRUE(terminal.fnAwait("rotate")) << terminal.fnGetShown();
    terminal.fnType("\033");
    ASSERT_TRUE(terminal.fnAwait("<code ")) << terminal.fnGetShown();
    EXPECT_EQ(terminal.fnGetMode(), before);
    terminal.fnType("\n");
    EXPECT_EQ(terminal.fnEnd(), 0);
    EXPECT_NE(terminal.fnGetShown().find("<code 130>"), std::string::npos) << terminal.fnGetShown();
    EXPECT_FALSE(fs::exists(fnPath("out.png")));
    fnExpectNothingLeft();
}

TEST_F(ToolTerminalTest, ControlCStopsItAndTheTerminalIsAsBefore) {
    const std::string script = fnWrite(kWork);
    ToolTerminal terminal([&] {
        ::execl("/bin/bash", "bash", "-c", ("trap : INT; . '" + script + "'").c_str(),
                static_cast<char*>(nullptr));
    });
    const tcflag_t before = terminal.fnGetMode();
    ASSERT_TRUE(terminal.fnAwait("resize")) << terminal.fnGetShown();
    terminal.fnType("\003");
    ASSERT_TRUE(terminal.fnAwait("<code ")) << terminal.fnGetShown();
    EXPECT_EQ(terminal.fnGetMode(), before);
    terminal.fnType("\n");
    terminal.fnEnd();
    EXPECT_NE(terminal.fnGetShown().find("<code 130>"), std::string::npos) << terminal.fnGetShown();
    fnExpectNothingLeft();
}

TEST_F(ToolTerminalTest, RemovesItsLineFromTheTerminal) {
    const std::string script = fnWrite({"convert", "in.png", "out.bmp"});
    ToolTerminal terminal(
        [&] { ::execl("/bin/bash", "bash", script.c_str(), static_cast<char*>(nullptr)); });
    ASSERT_TRUE(terminal.fnAwait("<code 0>")) << terminal.fnGetShown();
    terminal.fnType("\n");
    terminal.fnEnd();
    EXPECT_NE(terminal.fnGetShown().find("writing out.bmp"), std::string::npos);
    EXPECT_NE(terminal.fnGetShown().find("\r\033[K<code 0>"), std::string::npos)
        << terminal.fnGetShown();
}

TEST_F(ToolInterruptTest, ShowsNothingAndReadsNothingWithoutATerminal) {
    ASSERT_EQ(fnShell("echo data | { q32 convert in.png out.bmp; cat; }"), 0) << m_Errors;
    EXPECT_EQ(m_Said, "data\n");
    EXPECT_EQ(m_Errors, "");
}

} // namespace
