/// @file
/// A folder of its own for each test, and work in child processes that may be limited, lose their
/// rights, get a small disk, or be killed.
#pragma once

#include "platforms/posix/posix.h"

#include <functional>
#include <string>
#include <sys/types.h>

namespace q32::test {

/// A new folder on the disk of /var/tmp; goes with all that is in it.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    /// Native path, without a slash at its end.
    const std::string& fnPath() const { return m_Path; }
    std::string fnPath(const std::string& name) const { return m_Path + '/' + name; }
    /// The library's form: "/var/tmp/…\name".
    std::string fnName(const std::string& name = "") const { return m_Path + '\\' + name; }

    void fnWrite(const std::string& name, const std::string& text) const;
    std::string fnRead(const std::string& name) const;
    /// How many entries there are.
    std::size_t fnCount() const;

private:
    std::string m_Path;
};

/// Work of a child. What it gives is what went wrong; empty when all is well.
using Work = std::function<std::string()>;

/// Runs the work in a child process and gives what it found, or how the child died.
std::string fnInChild(const Work& work);

/// Runs the work in a child that has no rights beside those of an ordinary user.
std::string fnAsNobody(const Work& work);

/// Runs the work in a child that may write no file beyond `bytes`.
std::string fnWithFileLimit(std::size_t bytes, const Work& work);

/// Runs the work in a child, in front of whose `mountPoint` lies a real file system of some 16 MB:
/// ext4 in a file, where the process may mount that, else the memory file system. False as soon as
/// neither can be had; the work is not done then.
bool fnOnSmallDisk(const std::string& mountPoint, const Work& work, std::string& found);

/// A child process that says when it is ready, and then stays until it is killed.
class Holder {
public:
    /// @param work  done before it says so
    explicit Holder(const Work& work);
    ~Holder() { fnKill(); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    /// What the work gave.
    const std::string& fnFound() const { return m_Found; }
    /// Kills it outright, and waits until it is gone.
    void fnKill();

private:
    pid_t m_nPid = -1;
    std::string m_Found;
};

} // namespace q32::test

/// Ends a child's work with what was expected and is not so.
#define Q32_WANT(condition)                                                                        \
    do {                                                                                           \
        if (!(condition))                                                                          \
            return std::string(#condition) + ", line " + std::to_string(__LINE__);                 \
    } while (false)
