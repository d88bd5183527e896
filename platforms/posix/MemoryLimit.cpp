#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/MemoryLimit_p.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace q32::posix {
namespace {

/// Calls `visit` for each line of a file, without its end. The kernel's files don't declare a
/// length, so they are read up to their end. A line longer than any valid one is skipped, and takes
/// no memory.
template <typename Visit>
void fnReadLines(const std::string& path, Visit&& visit) {
    constexpr std::size_t kMaxLine = std::size_t{1} << 20;
    std::string line;
    bool fits = true;
    const auto end = [&] {
        if (fits)
            visit(std::string_view(line));
        line.clear();
        fits = true;
    };
    const Descriptor file(
        fnRetry([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    char part[4096];
    while (file) {
        const auto count = fnRetry([&] { return ::read(file.fnGet(), part, sizeof part); });
        if (count <= 0)
            break;
        std::string_view rest(part, static_cast<std::size_t>(count));
        while (!rest.empty()) {
            const std::size_t length = std::min(rest.find('\n'), rest.size());
            fits = fits && line.size() + length <= kMaxLine;
            if (fits)
                line.append(rest.substr(0, length));
            if (length == rest.size())
                break;
            end();
            rest.remove_prefix(length + 1);
        }
    }
    if (!line.empty())
        end();
}

/// Removes and returns the part of the text before the next `end`, or all of it when there is none.
std::string_view fnTake(std::string_view& text, char end) {
    const std::size_t at = text.find(end);
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
    return part;
}

/// Whether a comma-separated list contains the word.
bool fnLists(std::string_view list, std::string_view word) {
    while (!list.empty())
        if (fnTake(list, ',') == word)
            return true;
    return false;
}

/// Decodes a mount point, in which blanks and the like are a backslash and three octal digits.
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

/// Where a hierarchy of groups is mounted, and which of its groups is the root of the mount.
struct GroupMount {
    bool m_bUnified; ///< version 2, with a single hierarchy
    std::string m_szRoot;
    std::string m_szPoint;
};

/// The hierarchies that may have memory limits. A line is: number, parent, device, root, mount
/// point, options, any number of tags, "-", type, source, options of the hierarchy.
std::vector<GroupMount> fnFindMounts(const std::string& path) {
    std::vector<GroupMount> mounts;
    fnReadLines(path, [&](std::string_view line) {
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
    });
    return mounts;
}

/// The process's groups in the hierarchies with memory limits.
struct Groups {
    std::optional<std::string> m_Unified;
    std::optional<std::string> m_Memory; ///< in the version 1 hierarchy with the memory controller
};

/// A line is: number of the hierarchy (0 for version 2), its controllers, group. The first line for
/// a hierarchy is used.
Groups fnFindGroups(const std::string& path) {
    Groups groups;
    fnReadLines(path, [&](std::string_view line) {
        const std::string_view number = fnTake(line, ':');
        const std::string_view controllers = fnTake(line, ':');
        if (number == "0" && controllers.empty() && !groups.m_Unified)
            groups.m_Unified = line;
        if (fnLists(controllers, "memory") && !groups.m_Memory)
            groups.m_Memory = line;
    });
    return groups;
}

/// The group's path relative to the mount point. For a group outside the mount, as happens in
/// containers, that is the mount point itself.
std::string fnBelow(const std::string& group, const std::string& root) {
    if (root == "/")
        return group == "/" ? "" : group;
    return group.starts_with(root + '/') ? group.substr(root.size()) : "";
}

/// Lowers a limit to the one in the first line of a file, if it has one.
void fnLower(std::optional<std::uint64_t>& least, const std::string& path) {
    bool first = true;
    fnReadLines(path, [&](std::string_view line) {
        const auto limit = std::exchange(first, false) ? fnParseLimit(line) : std::nullopt;
        if (limit)
            least = std::min(*limit, least.value_or(*limit));
    });
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
    const Groups groups = fnFindGroups(process + "/cgroup");
    std::optional<std::uint64_t> least;
    for (const GroupMount& mount : fnFindMounts(process + "/mountinfo")) {
        const auto& group = mount.m_bUnified ? groups.m_Unified : groups.m_Memory;
        if (!group)
            continue;
        std::string below = fnBelow(*group, mount.m_szRoot);
        for (;;) {
            const std::string directory = mount.m_szPoint + below;
            if (mount.m_bUnified) {
                fnLower(least, directory + "/memory.max");
                fnLower(least, directory + "/memory.high");
            } else {
                fnLower(least, directory + "/memory.limit_in_bytes");
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
