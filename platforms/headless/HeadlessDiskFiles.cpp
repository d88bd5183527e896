// The files of the headless disks; HeadlessDisks.cpp has volumes and directories.

#include "platforms/headless/CqHeadlessDisks.h"
#include "platforms/headless/Folder.h"
#include "platforms/headless/Path.h"

#include <algorithm>
#include <cstring>
#include <utility>

CqHeadlessFilePtr CqHeadlessDisks::fnFindFile(const Place& place) const {
    const auto& files = m_Volumes[place.m_nVolume].m_Files;
    const auto found = files.find(q32::headless::fnNamesKey(place.m_Names));
    return found == files.end() ? nullptr : found->second;
}

CqHeadlessFilePtr CqHeadlessDisks::fnLoad(const Place& place) const {
    if (CqHeadlessFilePtr file = fnFindFile(place))
        return file;
    const Volume& volume = m_Volumes[place.m_nVolume];
    const q32::headless::FolderPlace real{volume.m_szFolder, place.m_Names};
    if (volume.m_szFolder.empty())
        return nullptr;
    auto file = std::make_shared<CqHeadlessFile>();
    std::uint64_t size = 0;
    if (!q32::headless::fnStatFolderFile(real, size, file->m_nTime) ||
        !q32::headless::fnReadFolderFile(real, file->m_Bytes))
        return nullptr;
    file->m_szName = volume.m_szRoot + q32::headless::fnJoinNames(place.m_Names);
    file->m_nVolume = place.m_nVolume;
    return file;
}

bool CqHeadlessDisks::fnStat(std::string_view path, std::uint64_t& size, std::int64_t& time) const {
    const auto place = fnResolve(path);
    if (!place)
        return false;
    if (const CqHeadlessFilePtr file = fnFindFile(*place)) {
        size = file->m_Bytes.fnGetSize();
        time = file->m_nTime;
        return true;
    }
    const Volume& volume = m_Volumes[place->m_nVolume];
    return !volume.m_szFolder.empty() &&
           q32::headless::fnStatFolderFile({volume.m_szFolder, place->m_Names}, size, time);
}

bool CqHeadlessDisks::fnIsFile(std::string_view path) const {
    std::uint64_t size = 0;
    std::int64_t time = 0;
    return fnStat(path, size, time);
}

CqHeadlessFilePtr CqHeadlessDisks::fnFindOpen(std::string_view path) const {
    const auto place = fnResolve(path);
    CqHeadlessFilePtr file = place ? fnFindFile(*place) : nullptr;
    return file && file->m_nUsers > 0 ? file : nullptr;
}

void CqHeadlessDisks::fnFailCreate(std::string_view path, CQ_FILE_CAUSE cause) {
    const auto place = fnResolve(path);
    const std::string key =
        place ? m_Volumes[place->m_nVolume].m_szKey + q32::headless::fnNamesKey(place->m_Names)
              : q32::headless::fnFold(q32::headless::fnTurnSlashes(path));
    if (cause == FILE_CAUSE_NONE)
        m_FailingNames.erase(key);
    else
        m_FailingNames[key] = cause;
}

CqHeadlessFilePtr CqHeadlessDisks::fnOpen(std::string_view path, bool create, bool unshared,
                                          CQ_FILE_CAUSE& cause) {
    const auto place = fnResolve(path);
    const auto refuse = [&](CQ_FILE_CAUSE why) -> CqHeadlessFilePtr {
        cause = why;
        return nullptr;
    };
    if (!place || !fnHasParent(*place))
        return refuse(place && place->m_Names.empty() ? FILE_CAUSE_ACCESS_DENIED
                                                      : FILE_CAUSE_BAD_PATH);
    if (fnIsDirectory(*place))
        return refuse(FILE_CAUSE_ACCESS_DENIED);
    Volume& volume = m_Volumes[place->m_nVolume];
    const std::string key = q32::headless::fnNamesKey(place->m_Names);
    if (create) {
        const auto failing = m_FailingNames.find(volume.m_szKey + key);
        if (failing != m_FailingNames.end())
            return refuse(failing->second);
    }
    CqHeadlessFilePtr file = fnLoad(*place);
    if (file && file->m_nUsers > 0 && (unshared || file->m_bUnshared))
        return refuse(FILE_CAUSE_SHARING_VIOLATION);
    if (!file && !create)
        return refuse(FILE_CAUSE_NOT_FOUND);
    if (!file) {
        file = std::make_shared<CqHeadlessFile>();
        file->m_szName = volume.m_szRoot + q32::headless::fnJoinNames(place->m_Names);
        file->m_nVolume = place->m_nVolume;
        fnTouch(*file);
        if (!volume.m_szFolder.empty() &&
            !q32::headless::fnWriteFolderFile({volume.m_szFolder, place->m_Names}, file->m_Bytes))
            return refuse(FILE_CAUSE_ACCESS_DENIED);
    }
    volume.m_Files[key] = file;
    file->m_bUnshared = unshared;
    ++file->m_nUsers;
    cause = FILE_CAUSE_NONE;
    return file;
}

CQ_FILE_CAUSE CqHeadlessDisks::fnClose(const CqHeadlessFilePtr& file) {
    if (--file->m_nUsers > 0)
        return FILE_CAUSE_NONE;
    file->m_bUnshared = false;
    Volume& volume = m_Volumes[file->m_nVolume];
    if (volume.m_szFolder.empty())
        return FILE_CAUSE_NONE;
    const auto names =
        q32::headless::fnSplitPath(std::string_view(file->m_szName).substr(volume.m_szRoot.size()));
    volume.m_Files.erase(q32::headless::fnNamesKey(names));
    return !file->m_bChanged ||
                   q32::headless::fnWriteFolderFile({volume.m_szFolder, names}, file->m_Bytes)
               ? FILE_CAUSE_NONE
               : FILE_CAUSE_HARD_IO;
}

CQ_FILE_CAUSE CqHeadlessDisks::fnResize(CqHeadlessFile& file, std::uint64_t size, bool spare) {
    Volume& volume = m_Volumes[file.m_nVolume];
    const std::uint64_t old = file.m_Bytes.fnGetSize();
    if (file.m_nViews > 0)
        return FILE_CAUSE_ACCESS_DENIED;
    if (size > old && size - old > volume.fnGetFree())
        return FILE_CAUSE_DISK_FULL;
    if (!file.m_Bytes.fnResize(size, spare))
        return FILE_CAUSE_DISK_FULL;
    // A file of a real folder may have been there before it was counted.
    volume.m_nUsed = volume.m_nUsed + size > old ? volume.m_nUsed + size - old : 0;
    fnTouch(file);
    return FILE_CAUSE_NONE;
}

void CqHeadlessDisks::fnTouch(CqHeadlessFile& file) {
    file.m_nTime = m_nNow;
    file.m_bChanged = true;
}

bool CqHeadlessDisks::fnDelete(std::string_view path) {
    const auto place = fnResolve(path);
    std::uint64_t size = 0;
    std::int64_t time = 0;
    if (!place || !fnStat(path, size, time) || fnFindOpen(path))
        return false;
    Volume& volume = m_Volumes[place->m_nVolume];
    if (!volume.m_szFolder.empty() &&
        !q32::headless::fnDeleteFolderFile({volume.m_szFolder, place->m_Names}))
        return false;
    volume.m_Files.erase(q32::headless::fnNamesKey(place->m_Names));
    volume.m_nUsed -= std::min(volume.m_nUsed, size);
    return true;
}

CQ_FILE_CAUSE CqHeadlessDisks::fnReplace(std::string_view from, std::string_view to) {
    const auto source = fnResolve(from);
    const auto target = fnResolve(to);
    std::uint64_t size = 0;
    std::int64_t time = 0;
    if (!source || !target || source->m_nVolume != target->m_nVolume || !fnHasParent(*target))
        return FILE_CAUSE_BAD_PATH;
    if (fnFindOpen(from) || fnFindOpen(to))
        return FILE_CAUSE_SHARING_VIOLATION;
    if (!fnStat(from, size, time))
        return FILE_CAUSE_NOT_FOUND;
    if (fnIsDirectory(*target))
        return FILE_CAUSE_ACCESS_DENIED;
    Volume& volume = m_Volumes[source->m_nVolume];
    const std::uint64_t freed = fnStat(to, size, time) ? size : 0;
    const std::string key = q32::headless::fnNamesKey(source->m_Names);
    const std::string wanted = q32::headless::fnNamesKey(target->m_Names);
    if (key == wanted)
        return FILE_CAUSE_NONE;
    if (!volume.m_szFolder.empty()) {
        if (!q32::headless::fnRenameFolderFile({volume.m_szFolder, source->m_Names},
                                               {volume.m_szFolder, target->m_Names}))
            return FILE_CAUSE_ACCESS_DENIED;
    } else {
        std::string name = volume.m_szRoot + q32::headless::fnJoinNames(target->m_Names);
        CqHeadlessFilePtr& place = volume.m_Files[wanted];
        // From here on nothing fails.
        const auto found = volume.m_Files.find(key);
        place = found->second;
        place->m_szName.swap(name);
        volume.m_Files.erase(found);
    }
    volume.m_nUsed -= std::min(volume.m_nUsed, freed);
    return FILE_CAUSE_NONE;
}

// The script's look at files.

bool CqHeadlessDisks::fnPutFile(std::string_view path, std::string_view bytes) {
    const auto place = fnResolve(path);
    if (!place || place->m_Names.empty() || fnFindOpen(path))
        return false;
    Place parent = *place;
    parent.m_Names.pop_back();
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    if (!fnPutDirectory(parent))
        return false;
    // The script isn't bound by what it has told the library's calls to do.
    const auto failing = std::exchange(m_FailingNames, {});
    CqHeadlessFilePtr file = fnOpen(path, true, true, cause);
    m_FailingNames = failing;
    if (!file)
        return false;
    Volume& volume = m_Volumes[place->m_nVolume];
    const std::uint64_t capacity = std::exchange(volume.m_nCapacity, ~std::uint64_t{0});
    cause = fnResize(*file, bytes.size());
    volume.m_nCapacity = capacity;
    if (cause == FILE_CAUSE_NONE && !bytes.empty())
        std::memcpy(file->m_Bytes.fnGetData(), bytes.data(), bytes.size());
    return fnClose(file) == FILE_CAUSE_NONE && cause == FILE_CAUSE_NONE;
}

bool CqHeadlessDisks::fnSetTime(std::string_view path, std::int64_t seconds) {
    const auto place = fnResolve(path);
    if (!place)
        return false;
    if (const CqHeadlessFilePtr file = fnFindFile(*place)) {
        file->m_nTime = seconds;
        return true;
    }
    const std::string& folder = m_Volumes[place->m_nVolume].m_szFolder;
    return !folder.empty() && q32::headless::fnSetFolderTime({folder, place->m_Names}, seconds);
}

std::optional<std::string> CqHeadlessDisks::fnGetFile(std::string_view path) const {
    const auto place = fnResolve(path);
    const CqHeadlessFilePtr file = place ? fnLoad(*place) : nullptr;
    if (!file)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(file->m_Bytes.fnGetData()),
                       file->m_Bytes.fnGetSize());
}

std::vector<std::string> CqHeadlessDisks::fnGetFiles() const {
    std::vector<std::string> names;
    for (const Volume& volume : m_Volumes) {
        if (volume.m_szFolder.empty())
            for (const auto& [key, file] : volume.m_Files)
                names.push_back(file->m_szName);
        else
            for (const std::string& name : q32::headless::fnListFolderTree({volume.m_szFolder, {}}))
                names.push_back(volume.m_szRoot + name);
    }
    return names;
}

std::size_t CqHeadlessDisks::fnGetOpenFiles() const {
    std::size_t count = 0;
    for (const Volume& volume : m_Volumes)
        for (const auto& [key, file] : volume.m_Files)
            count += file->m_nUsers > 0 ? 1u : 0u;
    return count;
}
