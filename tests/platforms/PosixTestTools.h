/// @file
/// A separate folder for each test, and work in child processes that may be limited, lose their
/// rights, get a small disk, or be killed.
#pragma once

#include "platforms/posix/posix.h"

#include <functional>
#include <string>
#include <sys/types.h>

namespace q32::test {

/// A new folder on the disk of /var/tmp, or of another directory; deleted with its content.
class Folder {
public:
    explicit Folder(const std::string& root = "/var/tmp");
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
    /// The number of entries.
    std::size_t fnCount() const;

private:
    std::string m_Path;
};

/// Work of a child process. Returns a description of the failure, empty on success.
using Work = std::function<std::string()>;

/// Runs the work in a child process. Returns its result, or how the child died.
std::string fnInChild(const Work& work);

/// Cuts all files of a folder to `bytes`, from another process.
void fnCutFiles(const Folder& folder, std::size_t bytes);

/// Runs the work in a child that has only the rights of an ordinary user.
std::string fnAsNobody(const Work& work);

/// Runs the work in a child whose files are limited to `bytes`.
std::string fnWithFileLimit(std::size_t bytes, const Work& work);

/// Runs the work in a child that has a real file system of some 16 MB mounted at `mountPoint`:
/// ext4 in a file, where the process may mount that, otherwise tmpfs. Returns false without
/// running the work if neither is available.
bool fnOnSmallDisk(const std::string& mountPoint, const Work& work, std::string& found);

/// A child process that signals when it is ready, and then waits until it is killed.
class Holder {
public:
    /// @param work  done before it signals readiness
    explicit Holder(const Work& work);
    ~Holder() { fnKill(); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    /// The result of the work.
    const std::string& fnFound() const { return m_Found; }
    /// Kills it with SIGKILL, and waits until it is gone.
    void fnKill();

private:
    pid_t m_nPid = -1;
    std::string m_Found;
};

} // namespace q32::test

/// Ends a child's work with the text of the failed expectation.
#define Q32_WANT(condition)                                                                        \
    do {                                                                                           \
        if (!(condition))                                                                          \
            return std::string(#condition) + ", line " + std::to_string(__LINE__);                 \
    } while (false)
