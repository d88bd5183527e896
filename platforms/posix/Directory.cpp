#include "platforms/posix/Directory_p.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace q32::posix {

namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

} // namespace

std::vector<std::string> fnListDirectory(const std::string& nativePath) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(nativePath.c_str()));
    if (!directory)
        return names;
    while (const dirent* const entry = ::readdir(directory.get())) {
        std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool fnMakeDirectories(const std::string& nativePath) {
    struct stat facts {};
    if (::stat(nativePath.c_str(), &facts) == 0)
        return S_ISDIR(facts.st_mode);
    for (std::size_t end = nativePath.find('/', 1);; end = nativePath.find('/', end + 1)) {
        // Another process may create it at the same time.
        if (::mkdir(nativePath.substr(0, end).c_str(), 0700) != 0 && errno != EEXIST)
            return false;
        if (end == std::string::npos)
            break;
    }
    return ::stat(nativePath.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

} // namespace q32::posix
