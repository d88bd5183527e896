#include "platforms/headless/CqHeadlessDisks.h"

#include "platforms/headless/FolderVolume_p.h"
#include "platforms/headless/MemoryVolume_p.h"
#include "platforms/headless/Path_p.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace q32::headless;

CqHeadlessDisks::CqHeadlessDisks(const std::vector<CqHeadlessVolume>& volumes) {
    for (const CqHeadlessVolume& volume : volumes)
        fnAddVolume(volume);
    if (!m_Volumes.empty())
        m_szCurrent = m_Volumes.front()->fnGetRoot();
}

CqHeadlessDisks::~CqHeadlessDisks() = default;

void CqHeadlessDisks::fnAddVolume(const CqHeadlessVolume& volume) {
    if (volume.m_szFolder.empty())
        m_Volumes.push_back(std::make_unique<MemoryVolume>(volume));
    else
        m_Volumes.push_back(std::make_unique<FolderVolume>(volume));
}

CqHeadlessDisks::Volume* CqHeadlessDisks::fnFindRoot(std::string_view root) {
    const std::string key = fnRootKey(root);
    const auto found = std::find_if(m_Volumes.begin(), m_Volumes.end(),
                                    [&](const auto& volume) { return volume->fnGetKey() == key; });
    return found == m_Volumes.end() ? nullptr : found->get();
}

std::optional<CqHeadlessDisks::Place> CqHeadlessDisks::fnResolve(std::string_view path) const {
    std::string full = fnToBackslashes(path);
    if (!full.starts_with('\\') && (full.size() < 2 || full[1] != ':'))
        full = fnToBackslashes(m_szCurrent) + "\\" + full;
    full += '\\';
    const std::string folded = fnFold(full);
    const auto none = m_Volumes.end();
    auto best = none;
    for (auto at = m_Volumes.begin(); at != none; ++at)
        if (folded.starts_with((*at)->fnGetKey()) &&
            (best == none || (*at)->fnGetKey().size() > (*best)->fnGetKey().size()))
            best = at;
    if (best == none)
        return std::nullopt;
    return Place{static_cast<std::size_t>(best - m_Volumes.begin()),
                 fnListPathNames(std::string_view(full).substr((*best)->fnGetKey().size()))};
}

bool CqHeadlessDisks::fnSetFree(std::string_view root, std::uint64_t bytes) {
    Volume* volume = fnFindRoot(root);
    if (volume)
        volume->fnSetFree(bytes);
    return volume != nullptr;
}

std::uint64_t CqHeadlessDisks::fnGetFree(std::string_view path) const {
    const auto place = fnResolve(path);
    return place ? fnVolumeOf(*place).fnGetFree() : 0;
}

bool CqHeadlessDisks::fnSetClusters(std::string_view root, const CqDiskClusters& clusters) {
    Volume* volume = fnFindRoot(root);
    if (volume)
        volume->fnSetClusters(clusters);
    return volume != nullptr;
}

bool CqHeadlessDisks::fnGetSpace(std::string_view path, CqDiskSpace& space) const {
    const auto place = fnResolve(path);
    if (!place || !fnIsDirectory(*place))
        return false;
    space = fnVolumeOf(*place).fnGetSpace();
    return true;
}

bool CqHeadlessDisks::fnGetClusters(std::string_view path, CqDiskClusters& clusters) const {
    const auto place = fnResolve(path);
    if (!place || !fnIsDirectory(*place))
        return false;
    clusters = fnVolumeOf(*place).fnGetClusters();
    return true;
}

// Directories.

bool CqHeadlessDisks::fnIsDirectory(const Place& place) const {
    return place.m_Names.empty() || fnVolumeOf(place).fnIsDirectory(place.m_Names);
}

bool CqHeadlessDisks::fnIsDirectory(std::string_view path) const {
    const auto place = fnResolve(path);
    return place && fnIsDirectory(*place);
}

bool CqHeadlessDisks::fnHasParent(Place place) const {
    if (place.m_Names.empty())
        return false;
    place.m_Names.pop_back();
    return fnIsDirectory(place);
}

bool CqHeadlessDisks::fnMakeDirectory(std::string_view path) {
    const auto place = fnResolve(path);
    return place && fnHasParent(*place) && !fnIsDirectory(*place) && !fnIsFile(path) &&
           fnVolumeOf(*place).fnMakeDirectory(place->m_Names);
}

bool CqHeadlessDisks::fnPutDirectory(const Place& place) {
    if (fnIsDirectory(place))
        return true;
    Place parent = place;
    parent.m_Names.pop_back();
    return fnPutDirectory(parent) &&
           fnMakeDirectory(fnVolumeOf(place).fnGetRoot() + fnJoinNames(place.m_Names));
}

bool CqHeadlessDisks::fnPutDirectory(std::string_view path) {
    const auto place = fnResolve(path);
    return place && fnPutDirectory(*place);
}

std::vector<std::string> CqHeadlessDisks::fnList(std::string_view directory) const {
    const auto place = fnResolve(directory);
    return place ? fnVolumeOf(*place).fnList(place->m_Names) : std::vector<std::string>();
}

// Files.

bool CqHeadlessDisks::fnStat(std::string_view path, std::uint64_t& size, std::int64_t& time) const {
    const auto place = fnResolve(path);
    return place && fnVolumeOf(*place).fnStat(place->m_Names, size, time);
}

bool CqHeadlessDisks::fnIsFile(std::string_view path) const {
    std::uint64_t size = 0;
    std::int64_t time = 0;
    return fnStat(path, size, time);
}

CqHeadlessFilePtr CqHeadlessDisks::fnFindOpen(std::string_view path) const {
    const auto place = fnResolve(path);
    CqHeadlessFilePtr file = place ? fnVolumeOf(*place).fnFindKnown(place->m_Names) : nullptr;
    return file && file->m_nUsers > 0 ? file : nullptr;
}

void CqHeadlessDisks::fnFailCreate(std::string_view path, CQ_FILE_CAUSE cause) {
    const auto place = fnResolve(path);
    const std::string key = place ? fnVolumeOf(*place).fnGetKey() + fnNamesKey(place->m_Names)
                                  : fnFold(fnToBackslashes(path));
    if (cause == FILE_CAUSE_NONE)
        m_FailingNames.erase(key);
    else
        m_FailingNames[key] = cause;
}

CqHeadlessFilePtr CqHeadlessDisks::fnNewFile(const Place& place) {
    auto file = std::make_shared<CqHeadlessFile>();
    file->m_szName = fnVolumeOf(place).fnGetRoot() + fnJoinNames(place.m_Names);
    fnTouch(*file);
    return file;
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
    Volume& volume = fnVolumeOf(*place);
    if (create) {
        const auto failing = m_FailingNames.find(volume.fnGetKey() + fnNamesKey(place->m_Names));
        if (failing != m_FailingNames.end())
            return refuse(failing->second);
    }
    CqHeadlessFilePtr file = volume.fnLoad(place->m_Names);
    if (file && file->m_nUsers > 0 && (unshared || file->m_bUnshared))
        return refuse(FILE_CAUSE_SHARING_VIOLATION);
    if (!file && !create)
        return refuse(FILE_CAUSE_NOT_FOUND);
    if (!file) {
        file = fnNewFile(*place);
        if (!volume.fnCreate(place->m_Names))
            return refuse(FILE_CAUSE_ACCESS_DENIED);
    }
    file->m_nVolume = place->m_nVolume;
    volume.fnKeep(place->m_Names, file);
    file->m_bUnshared = unshared;
    ++file->m_nUsers;
    cause = FILE_CAUSE_NONE;
    return file;
}

CQ_FILE_CAUSE CqHeadlessDisks::fnClose(const CqHeadlessFilePtr& file) {
    if (--file->m_nUsers > 0)
        return FILE_CAUSE_NONE;
    file->m_bUnshared = false;
    return m_Volumes[file->m_nVolume]->fnEndUse(*file);
}

CQ_FILE_CAUSE CqHeadlessDisks::fnResize(CqHeadlessFile& file, std::uint64_t size, bool spare) {
    Volume& volume = *m_Volumes[file.m_nVolume];
    const std::uint64_t old = file.m_Bytes.fnGetSize();
    if (file.m_nViews > 0)
        return FILE_CAUSE_ACCESS_DENIED;
    if (size > old && size - old > volume.fnGetFree())
        return FILE_CAUSE_DISK_FULL;
    if (!file.m_Bytes.fnResize(size, spare))
        return FILE_CAUSE_DISK_FULL;
    volume.fnCount(old, size);
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
    if (!place || !fnStat(path, size, time) || fnFindOpen(path) ||
        !fnVolumeOf(*place).fnDelete(place->m_Names))
        return false;
    fnVolumeOf(*place).fnUncount(size);
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
    const std::uint64_t freed = fnStat(to, size, time) ? size : 0;
    if (fnNamesKey(source->m_Names) == fnNamesKey(target->m_Names))
        return FILE_CAUSE_NONE;
    Volume& volume = fnVolumeOf(*source);
    if (!volume.fnRename(source->m_Names, target->m_Names))
        return FILE_CAUSE_ACCESS_DENIED;
    volume.fnUncount(freed);
    return FILE_CAUSE_NONE;
}

// Files for scripts.

bool CqHeadlessDisks::fnPutFile(std::string_view path, std::string_view bytes) {
    const auto place = fnResolve(path);
    if (!place || place->m_Names.empty() || fnFindOpen(path))
        return false;
    Place parent = *place;
    parent.m_Names.pop_back();
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    if (!fnPutDirectory(parent))
        return false;
    // The failures set by a script apply only to the library's calls.
    const auto failing = std::exchange(m_FailingNames, {});
    CqHeadlessFilePtr file = fnOpen(path, true, true, cause);
    m_FailingNames = failing;
    if (!file)
        return false;
    Volume& volume = fnVolumeOf(*place);
    const std::uint64_t capacity = volume.fnSwapCapacity(~std::uint64_t{0});
    cause = fnResize(*file, bytes.size());
    volume.fnSwapCapacity(capacity);
    if (cause == FILE_CAUSE_NONE && !bytes.empty())
        std::memcpy(file->m_Bytes.fnGetData(), bytes.data(), bytes.size());
    return fnClose(file) == FILE_CAUSE_NONE && cause == FILE_CAUSE_NONE;
}

bool CqHeadlessDisks::fnSetTime(std::string_view path, std::int64_t seconds) {
    const auto place = fnResolve(path);
    return place && fnVolumeOf(*place).fnSetTime(place->m_Names, seconds);
}

std::optional<std::string> CqHeadlessDisks::fnGetFile(std::string_view path) const {
    const auto place = fnResolve(path);
    const CqHeadlessFilePtr file = place ? fnVolumeOf(*place).fnLoad(place->m_Names) : nullptr;
    if (!file)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(file->m_Bytes.fnGetData()),
                       file->m_Bytes.fnGetSize());
}

std::vector<std::string> CqHeadlessDisks::fnGetFiles() const {
    std::vector<std::string> names;
    for (const auto& volume : m_Volumes)
        for (std::string& name : volume->fnGetFiles())
            names.push_back(std::move(name));
    return names;
}

std::size_t CqHeadlessDisks::fnGetOpenFiles() const {
    std::size_t count = 0;
    for (const auto& volume : m_Volumes)
        count += volume->fnGetOpenFiles();
    return count;
}
