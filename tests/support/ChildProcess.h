#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program that the test has started. It ends with this object, and with the test's process,
/// however that ends.
class ChildProcess {
public:
    enum class Output { NONE, PIPE };
    /// The caller's descriptors that the program gets; -1: nothing.
    struct Streams {
        int m_nInput = -1;
        int m_nOutput = -1;
        int m_nError = -1;
    };

    ChildProcess() = default;
    /// @param environment  all of it, as NAME=value
    /// Throws std::runtime_error.
    ChildProcess(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment, Output output = Output::NONE);
    ChildProcess(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment, const Streams& streams) {
        fnStart(arguments, environment, streams);
    }
    ChildProcess(ChildProcess&& other) noexcept { fnSwap(other); }
    ChildProcess& operator=(ChildProcess&& other) noexcept {
        fnSwap(other);
        return *this;
    }
    /// Kills it, and waits until it is gone.
    ~ChildProcess();

    bool fnIsRunning();
    void fnSignal(int signal);
    /// Waits for its end; gives the exit code, or -1 if a signal ended it.
    int fnWait();
    /// Where its output is read; -1 without Output::PIPE.
    int fnGetOutput() const { return m_nOutput; }

private:
    void fnStart(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment, const Streams& streams);
    void fnSwap(ChildProcess& other) noexcept;

    pid_t m_nPid = -1;
    int m_nOutput = -1;
};
