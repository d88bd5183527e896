#pragma once

#include "platforms/headless/CqHeadlessFile.h"
#include "platforms/headless/CqHeadlessVolume.h"
#include "q32Base/platform/CqFileService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace q32::headless {
class Volume;
}

/// Volumes, directories and files, in memory or in real folders, which the file service and the
/// scratch service share. Names are kept as they are given and compared without case; both
/// separators are taken. Free space is what a volume was told to have, less the bytes of the files
/// that were put on it since, each counted exactly.
class Q32_API CqHeadlessDisks {
public:
    explicit CqHeadlessDisks(const std::vector<CqHeadlessVolume>& volumes);
    ~CqHeadlessDisks();

    // The script.

    void fnAddVolume(const CqHeadlessVolume& volume);
    /// Bytes that are free from now on, on the volume with that root. False for an unknown root.
    bool fnSetFree(std::string_view root, std::uint64_t bytes);
    /// Free bytes of the volume of a path; 0 for none.
    std::uint64_t fnGetFree(std::string_view path) const;
    /// What the old query answers for the volume with that root, whatever its free bytes are.
    bool fnSetClusters(std::string_view root, const CqDiskClusters& clusters);
    /// Where bare names are looked for. At first the first volume's root.
    void fnSetCurrentDirectory(std::string directory) { m_szCurrent = std::move(directory); }
    /// Time of files that are written from now on, in seconds since 1970-01-01 00:00 UTC.
    void fnSetNow(std::int64_t seconds) { m_nNow = seconds; }
    std::int64_t fnGetNow() const { return m_nNow; }

    /// Makes a directory with all above it. False where there is no volume or a file is in the way.
    bool fnPutDirectory(std::string_view path);
    /// Puts a file there in place of one that stands there, with the directories above it, also
    /// when the disk is full. False as above, and for an open file.
    bool fnPutFile(std::string_view path, std::string_view bytes);
    bool fnSetTime(std::string_view path, std::int64_t seconds);
    /// The bytes of a file; none when it is missing.
    std::optional<std::string> fnGetFile(std::string_view path) const;
    /// Full names of all files, volume by volume, in order of their names.
    std::vector<std::string> fnGetFiles() const;
    /// Files that are open, mapped or viewed.
    std::size_t fnGetOpenFiles() const;
    /// Every later creation of that file fails with the cause; FILE_CAUSE_NONE ends that.
    void fnFailCreate(std::string_view path, CQ_FILE_CAUSE cause);

    // For the services.

    bool fnIsFile(std::string_view path) const;
    bool fnIsDirectory(std::string_view path) const;
    bool fnMakeDirectory(std::string_view path);
    std::vector<std::string> fnList(std::string_view directory) const;
    bool fnGetSpace(std::string_view path, CqDiskSpace& space) const;
    bool fnGetClusters(std::string_view path, CqDiskClusters& clusters) const;
    /// Size and time of a file, without opening it. False when it is missing.
    bool fnStat(std::string_view path, std::uint64_t& size, std::int64_t& time) const;
    /// The file, if somebody has it open; else null.
    CqHeadlessFilePtr fnFindOpen(std::string_view path) const;

    /// Opens a file; `create` makes it when it is missing. Null with the cause on failure.
    CqHeadlessFilePtr fnOpen(std::string_view path, bool create, bool unshared,
                             CQ_FILE_CAUSE& cause);
    /// One user less. A changed file of a real folder is written there by its last user; the cause
    /// if that fails.
    CQ_FILE_CAUSE fnClose(const CqHeadlessFilePtr& file);
    /// Sets the size of an open file; the disk must have room, and no mapping may stand.
    CQ_FILE_CAUSE fnResize(CqHeadlessFile& file, std::uint64_t size, bool spare = false);
    /// Notes that an open file was written to.
    void fnTouch(CqHeadlessFile& file);
    /// Deletes a file that nobody has open.
    bool fnDelete(std::string_view path);
    /// Gives a file the name of another one, which goes, or a free name on the same volume. Nobody
    /// may have either open. On failure, also for lack of memory, both are as they were.
    CQ_FILE_CAUSE fnReplace(std::string_view from, std::string_view to);

private:
    struct Place {
        std::size_t m_nVolume;
        std::vector<std::string> m_Names;
    };
    using Volume = q32::headless::Volume;

    std::optional<Place> fnResolve(std::string_view path) const;
    bool fnIsDirectory(const Place& place) const;
    bool fnHasParent(Place place) const;
    bool fnPutDirectory(const Place& place);
    Volume& fnVolumeOf(const Place& place) const { return *m_Volumes[place.m_nVolume]; }
    CqHeadlessFilePtr fnNewFile(const Place& place);
    Volume* fnFindRoot(std::string_view root);

    std::vector<std::unique_ptr<Volume>> m_Volumes;
    std::string m_szCurrent;
    std::int64_t m_nNow = 946684800;
    std::map<std::string, CQ_FILE_CAUSE> m_FailingNames;
};
