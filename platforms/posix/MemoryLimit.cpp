#include "platforms/posix/MemoryLimit.h"

#include "platforms/posix/FileAccess.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace q32::posix {
namespace {

/// Files of the system have no length that could be asked for: they are read up to their end.
std::string fnReadSystemFile(const std::string& path) {
    constexpr std::size_t kMostBytes = std::size_t{1} << 20;
    std::string text;
    const Descriptor file(
        fnRetry([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    char part[4096];
    while (file && text.size() < kMostBytes) {
        const auto count = fnRetry([&] { return ::read(file.fnGet(), part, sizeof part); });
        if (count <= 0)
            break;
        text.append(part, static_cast<std::size_t>(count));
    }
    return text;
}

/// Takes the part before the next `end` off the text; the rest when there is none.
std::string_view fnTake(std::string_view& text, char end) {
    const std::size_t at = text.find(end);
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
    return part;
}

/// Whether a list with commas has the word.
bool fnLists(std::string_view list, std::string_view word) {
    while (!list.empty())
        if (fnTake(list, ',') == word)
            return true;
    return false;
}

/// Mount points show blanks and their like as a backslash and three octal digits.
std::string fnUnescape(std::string_view text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '7'; };
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && isDigit(text[i + 1]) &&
            isDigit(text[i + 2]) && isDigit(text[i + 3])) {
            out += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 +
                                     (text[i + 3] - '0'));
            i += 3;
        } else {
            out += text[i];
        }
    }
    return out;
}

/// Where a tree of groups is mounted, and which of its groups stands there.
struct GroupMount {
    bool m_bUnified; ///< the second generation, of one tree for everything
    std::string m_szRoot;
    std::string m_szPoint;
};

/// The trees that have limits on memory, or may have. A line is: number, parent, device, root,
/// point, options, any number of tags, "-", type, source, options of the tree.
std::vector<GroupMount> fnFindMounts(std::string_view mountInfo) {
    std::vector<GroupMount> mounts;
    while (!mountInfo.empty()) {
        std::string_view line = fnTake(mountInfo, '\n');
        for (int i = 0; i < 3; ++i)
            fnTake(line, ' ');
        const std::string_view root = fnTake(line, ' ');
        const std::string_view point = fnTake(line, ' ');
        while (!line.empty() && fnTake(line, ' ') != "-") {
        }
        const std::string_view type = fnTake(line, ' ');
        fnTake(line, ' ');
        if (type == "cgroup2" || (type == "cgroup" && fnLists(line, "memory")))
            mounts.push_back({type == "cgroup2", fnUnescape(root), fnUnescape(point)});
    }
    return mounts;
}

/// The process's group in the tree of memory limits. A line is: number of the tree (0 for the
/// unified one), its controllers, group.
std::optional<std::string> fnFindGroup(std::string_view groups, bool unified) {
    while (!groups.empty()) {
        std::string_view line = fnTake(groups, '\n');
        const std::string_view number = fnTake(line, ':');
        const std::string_view controllers = fnTake(line, ':');
        if (unified ? number == "0" && controllers.empty() : fnLists(controllers, "memory"))
            return std::string(line);
    }
    return std::nullopt;
}

/// The group as seen from the mount point. One that lies outside of what is mounted, as happens in
/// containers, stands at the point itself.
std::string fnBelow(const std::string& group, const std::string& root) {
    if (root == "/")
        return group == "/" ? "" : group;
    return group.starts_with(root + '/') ? group.substr(root.size()) : "";
}

void fnLower(std::optional<std::uint64_t>& least, std::optional<std::uint64_t> limit) {
    if (limit)
        least = std::min(*limit, least.value_or(*limit));
}

} // namespace

std::optional<std::uint64_t> fnParseLimit(std::string_view text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.remove_suffix(1);
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<std::uint64_t> fnGroupMemoryLimit(const std::string& process) {
    const std::string groups = fnReadSystemFile(process + "/cgroup");
    std::optional<std::uint64_t> least;
    for (const GroupMount& mount : fnFindMounts(fnReadSystemFile(process + "/mountinfo"))) {
        const auto group = fnFindGroup(groups, mount.m_bUnified);
        if (!group)
            continue;
        std::string below = fnBelow(*group, mount.m_szRoot);
        for (;;) {
            const std::string directory = mount.m_szPoint + below;
            if (mount.m_bUnified) {
                fnLower(least, fnParseLimit(fnReadSystemFile(directory + "/memory.max")));
                fnLower(least, fnParseLimit(fnReadSystemFile(directory + "/memory.high")));
            } else {
                fnLower(least,
                        fnParseLimit(fnReadSystemFile(directory + "/memory.limit_in_bytes")));
            }
            if (below.empty())
                break;
            below.erase(below.rfind('/') == std::string::npos ? 0 : below.rfind('/'));
        }
    }
    return least;
}

std::uint64_t fnUsableMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long page = ::sysconf(_SC_PAGESIZE);
    const std::uint64_t machine = pages <= 0 || page <= 0 ? 0
                                                          : static_cast<std::uint64_t>(pages) *
                                                                static_cast<std::uint64_t>(page);
    const auto limit = fnGroupMemoryLimit("/proc/self");
    if (!limit)
        return machine;
    return machine == 0 ? *limit : std::min(*limit, machine);
}

} // namespace q32::posix
