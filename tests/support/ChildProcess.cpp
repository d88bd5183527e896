#include "tests/support/ChildProcess.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

std::vector<char*> fnMakeArray(const std::vector<std::string>& texts) {
    std::vector<char*> array;
    for (const std::string& text : texts)
        array.push_back(const_cast<char*>(text.c_str()));
    array.push_back(nullptr);
    return array;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment, Output output) {
    int ends[2] = {-1, -1};
    if (output == Output::PIPE && ::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_nOutput = ends[0];
    fnStart(arguments, environment, {.m_nOutput = ends[1]});
    if (output == Output::PIPE)
        ::close(ends[1]);
}

void ChildProcess::fnStart(const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment, const Streams& streams) {
    std::vector<char*> argv = fnMakeArray(arguments);
    std::vector<char*> envp = fnMakeArray(environment);
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    const pid_t parent = ::getpid();
    m_nPid = ::fork();
    if (m_nPid == 0) {
        // Only calls that are allowed between fork and exec in a program with threads.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(127);
        const auto give = [&](int own, int as) { ::dup2(own >= 0 ? own : nothing, as); };
        give(streams.m_nInput, STDIN_FILENO);
        give(streams.m_nOutput, STDOUT_FILENO);
        give(streams.m_nError, STDERR_FILENO);
        ::execvpe(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    ::close(nothing);
    if (m_nPid < 0)
        throw std::runtime_error(std::strerror(errno));
}

ChildProcess::~ChildProcess() {
    if (m_nPid > 0) {
        fnSignal(SIGKILL);
        fnWait();
    }
    if (m_nOutput >= 0)
        ::close(m_nOutput);
}

bool ChildProcess::fnIsRunning() {
    siginfo_t info{};
    return m_nPid > 0 &&
           ::waitid(P_PID, static_cast<id_t>(m_nPid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
}

void ChildProcess::fnSignal(int signal) {
    if (m_nPid > 0)
        ::kill(m_nPid, signal);
}

int ChildProcess::fnWait() {
    int status = 0;
    const pid_t pid = std::exchange(m_nPid, -1);
    while (pid > 0 && ::waitpid(pid, &status, 0) < 0 && errno == EINTR)
        ;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ChildProcess::fnSwap(ChildProcess& other) noexcept {
    std::swap(m_nPid, other.m_nPid);
    std::swap(m_nOutput, other.m_nOutput);
}
