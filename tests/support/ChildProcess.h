#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program started by the test. It ends with this object, and with the test's process, however
/// that ends.
class ChildProcess {
public:
    enum class Output { NONE, PIPE };
    /// The caller's descriptors that the program inherits; -1: none.
    struct Streams {
        int m_nInput = -1;
        int m_nOutput = -1;
        int m_nError = -1;
    };

    ChildProcess() = default;
    /// @param environment  complete, as NAME=value
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
    /// Kills the program and waits until it is gone.
    ~ChildProcess();

    bool fnIsRunning();
    void fnSignal(int signal);
    /// Waits for the program to end; returns the exit code, or -1 if a signal ended it.
    int fnWait();
    /// Descriptor from which its output is read; -1 without Output::PIPE.
    int fnGetOutput() const { return m_nOutput; }

private:
    void fnStart(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment, const Streams& streams);
    void fnSwap(ChildProcess& other) noexcept;

    pid_t m_nPid = -1;
    int m_nOutput = -1;
};
