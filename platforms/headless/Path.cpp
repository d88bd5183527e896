#include "platforms/headless/Path_p.h"

#include <algorithm>

namespace q32::headless {

std::string fnToBackslashes(std::string_view path) {
    std::string converted(path);
    std::replace(converted.begin(), converted.end(), '/', '\\');
    return converted;
}

std::string fnFold(std::string_view text) {
    std::string folded(text);
    for (char& letter : folded)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return folded;
}

std::vector<std::string> fnListPathNames(std::string_view path) {
    std::vector<std::string> names;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('\\'), path.size());
        const std::string_view name = path.substr(0, end);
        path.remove_prefix(std::min(end + 1, path.size()));
        if (name == "..") {
            if (!names.empty())
                names.pop_back();
        } else if (!name.empty() && name != ".") {
            names.emplace_back(name);
        }
    }
    return names;
}

std::string fnJoinNames(const std::vector<std::string>& names) {
    std::string joined;
    for (const std::string& name : names)
        joined += joined.empty() ? name : "\\" + name;
    return joined;
}

std::string fnNamesKey(const std::vector<std::string>& names) {
    return fnFold(fnJoinNames(names));
}

bool fnMatchMask(std::string_view mask, std::string_view name) {
    const std::string pattern = fnFold(mask);
    const std::string text = fnFold(name);
    std::size_t p = 0;
    std::size_t t = 0;
    // Position of the last star, and how much of the text it has matched.
    std::size_t star = std::string::npos;
    std::size_t taken = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            taken = t;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
            ++p;
            ++t;
        } else if (star != std::string::npos) {
            p = star + 1;
            t = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string::npos;
}

} // namespace q32::headless
