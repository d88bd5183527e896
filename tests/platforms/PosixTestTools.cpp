#include "tests/platforms/PosixTestTools.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <iterator>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace q32::test {

namespace {

constexpr char kReady = '\1';
constexpr char kNoDisk[] = "(no small disk)";

void fnSay(int fd, const std::string& text) {
    if (::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        ::_exit(3);
}

void fnPutText(const char* path, const std::string& text) {
    std::ofstream(path) << text;
}

/// Enters a private mount namespace, as root, or as the root of a private user namespace.
bool fnLeaveMounts() {
    const uid_t user = ::getuid();
    const gid_t group = ::getgid();
    if (::unshare(CLONE_NEWNS) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        fnPutText("/proc/self/setgroups", "deny");
        fnPutText("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        fnPutText("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool fnMountSmallDisk(const std::string& mountPoint) {
    if (!fnLeaveMounts())
        return false;
    // The disk image is unlinked at once: only the mount holds it.
    const std::string image = mountPoint + ".img";
    const std::string command = "truncate -s 20M '" + image + "' && /sbin/mkfs.ext4 -q -F -m 0 '" +
                                image + "' && mount -o loop '" + image + "' '" + mountPoint + "'";
    const bool ext4 = std::system(("{ " + command + "; } >/dev/null 2>&1").c_str()) == 0;
    ::unlink(image.c_str());
    return ext4 || ::mount("none", mountPoint.c_str(), "tmpfs", 0, "size=16m") == 0;
}

} // namespace

Folder::Folder(const std::string& root) : m_Path(root + "/q32testXXXXXX") {
    if (!::mkdtemp(m_Path.data()))
        throw std::runtime_error("no folder for the test: " + std::string(std::strerror(errno)));
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Path, ignored);
}

void Folder::fnWrite(const std::string& name, const std::string& text) const {
    std::ofstream(fnPath(name), std::ios::binary) << text;
}

std::string Folder::fnRead(const std::string& name) const {
    std::ifstream file(fnPath(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t Folder::fnCount() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_Path), {}));
}

std::string fnInChild(const Work& work) {
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
        fnSay(pipe[1], work());
        ::_exit(0);
    }
    ::close(pipe[1]);
    std::string found;
    char part[4096];
    for (ssize_t got; (got = ::read(pipe[0], part, sizeof part)) > 0;)
        found.append(part, static_cast<std::size_t>(got));
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        return "killed by signal " + std::to_string(WTERMSIG(status));
    return WEXITSTATUS(status) == 0 ? found : "ended with " + std::to_string(WEXITSTATUS(status));
}

void fnCutFiles(const Folder& folder, std::size_t bytes) {
    const std::string found = fnInChild([&]() -> std::string {
        for (const auto& entry : std::filesystem::directory_iterator(folder.fnPath()))
            if (entry.is_regular_file())
                std::filesystem::resize_file(entry.path(), bytes);
        return "";
    });
    if (!found.empty())
        std::abort();
}

std::string fnAsNobody(const Work& work) {
    return fnInChild([&]() -> std::string {
        constexpr uid_t kNobody = 65534;
        if (::getuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
            return "rights not given up";
        return work();
    });
}

std::string fnWithFileLimit(std::size_t bytes, const Work& work) {
    return fnInChild([&]() -> std::string {
        const rlimit limit{bytes, bytes};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return "no limit";
        return work();
    });
}

bool fnOnSmallDisk(const std::string& mountPoint, const Work& work, std::string& found) {
    found = fnInChild([&] { return fnMountSmallDisk(mountPoint) ? work() : kNoDisk; });
    return found != kNoDisk;
}

Holder::Holder(const Work& work) {
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_nPid = ::fork();
    if (m_nPid == 0) {
        fnSay(pipe[1], work() + kReady);
        for (;;)
            ::pause();
    }
    ::close(pipe[1]);
    for (char c; ::read(pipe[0], &c, 1) == 1 && c != kReady;)
        m_Found += c;
    ::close(pipe[0]);
}

void Holder::fnKill() {
    if (m_nPid <= 0)
        return;
    ::kill(m_nPid, SIGKILL);
    ::waitpid(m_nPid, nullptr, 0);
    m_nPid = -1;
}

} // namespace q32::test
