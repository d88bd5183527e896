#include "platforms/headless/Folder_p.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

namespace fs = std::filesystem;

namespace q32::headless {

namespace {

/// The real path; none if a name on the way is a link, or isn't a plain name for the system.
std::optional<fs::path> fnRealPath(const FolderPlace& place) {
    fs::path path(place.m_szFolder);
    for (const std::string& name : place.m_Names) {
        if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
            return std::nullopt;
        path /= name;
        std::error_code error;
        if (fs::is_symlink(fs::symlink_status(path, error)))
            return std::nullopt;
    }
    return path;
}

fs::file_type fnGetType(const FolderPlace& place) {
    const auto path = fnRealPath(place);
    std::error_code error;
    return path ? fs::symlink_status(*path, error).type() : fs::file_type::not_found;
}

/// Converts a file time to seconds since 1970.
std::int64_t fnFromFileTime(fs::file_time_type time) {
    const auto system = std::chrono::file_clock::to_sys(time);
    return std::chrono::floor<std::chrono::seconds>(system).time_since_epoch().count();
}

} // namespace

bool fnIsFolderFile(const FolderPlace& place) {
    return fnGetType(place) == fs::file_type::regular;
}

bool fnIsFolderDirectory(const FolderPlace& place) {
    return fnGetType(place) == fs::file_type::directory;
}

bool fnStatFolderFile(const FolderPlace& place, std::uint64_t& size, std::int64_t& time) {
    if (!fnIsFolderFile(place))
        return false;
    const auto path = *fnRealPath(place);
    std::error_code sizeError;
    std::error_code timeError;
    size = fs::file_size(path, sizeError);
    const auto written = fs::last_write_time(path, timeError);
    if (sizeError || timeError)
        return false;
    time = fnFromFileTime(written);
    return true;
}

bool fnReadFolderFile(const FolderPlace& place, CqHeadlessBlock& bytes) {
    std::uint64_t size = 0;
    std::int64_t time = 0;
    if (!fnStatFolderFile(place, size, time) || !bytes.fnResize(size))
        return false;
    std::ifstream stream(*fnRealPath(place), std::ios::binary);
    const auto count = static_cast<std::streamsize>(size);
    return stream &&
           (count == 0 ||
            stream.read(reinterpret_cast<char*>(bytes.fnGetData()), count).gcount() == count);
}

bool fnWriteFolderFile(const FolderPlace& place, const CqHeadlessBlock& bytes) {
    const auto path = fnRealPath(place);
    if (!path)
        return false;
    std::ofstream stream(*path, std::ios::binary | std::ios::trunc);
    if (bytes.fnGetSize() != 0)
        stream.write(reinterpret_cast<const char*>(bytes.fnGetData()),
                     static_cast<std::streamsize>(bytes.fnGetSize()));
    stream.close();
    return stream.good();
}

bool fnSetFolderTime(const FolderPlace& place, std::int64_t seconds) {
    if (!fnIsFolderFile(place))
        return false;
    const std::chrono::sys_time<std::chrono::seconds> time{std::chrono::seconds(seconds)};
    std::error_code error;
    fs::last_write_time(*fnRealPath(place), std::chrono::file_clock::from_sys(time), error);
    return !error;
}

bool fnDeleteFolderFile(const FolderPlace& place) {
    std::error_code error;
    return fnIsFolderFile(place) && fs::remove(*fnRealPath(place), error);
}

bool fnRenameFolderFile(const FolderPlace& from, const FolderPlace& to) {
    const auto target = fnRealPath(to);
    std::error_code error;
    if (!fnIsFolderFile(from) || !target)
        return false;
    fs::rename(*fnRealPath(from), *target, error);
    return !error;
}

bool fnMakeFolderDirectory(const FolderPlace& place) {
    const auto path = fnRealPath(place);
    std::error_code error;
    return path && fs::create_directory(*path, error);
}

std::vector<std::string> fnListFolder(const FolderPlace& place) {
    std::vector<std::string> names;
    if (!fnIsFolderDirectory(place))
        return names;
    std::error_code error;
    for (fs::directory_iterator at(*fnRealPath(place), error), end; !error && at != end;
         at.increment(error))
        if (at->symlink_status(error).type() == fs::file_type::regular)
            names.push_back(at->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> fnListFolderTree(const FolderPlace& place) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::recursive_directory_iterator at(place.m_szFolder, error), end; !error && at != end;
         at.increment(error)) {
        if (at->symlink_status(error).type() != fs::file_type::regular)
            continue;
        std::string name = at->path().lexically_relative(place.m_szFolder).generic_string();
        std::replace(name.begin(), name.end(), '/', '\\');
        names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace q32::headless
