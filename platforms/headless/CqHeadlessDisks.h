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

/// Volumes, directories and files, in memory or in real folders, shared by the file service and the
/// scratch service. Names keep their case and are compared without it; both separators are
/// accepted. Free space is the amount set for a volume, less the bytes of the files put on it
/// since, each counted exactly. Not thread-safe.
class Q32_API CqHeadlessDisks {
public:
    /// Without directories and files, but those in the real folders of volumes.
    explicit CqHeadlessDisks(const std::vector<CqHeadlessVolume>& volumes);
    ~CqHeadlessDisks();

    // For scripts.

    /// Adds a volume. One whose root lies within another's hides what that has there.
    void fnAddVolume(const CqHeadlessVolume& volume);
    /// Sets the free bytes of the volume with that root. False for an unknown root.
    bool fnSetFree(std::string_view root, std::uint64_t bytes);
    /// Free bytes of the volume of a path; 0 if there is none.
    std::uint64_t fnGetFree(std::string_view path) const;
    /// Sets the answer to the cluster query for the volume with that root, whatever its free bytes.
    /// False for an unknown root.
    bool fnSetClusters(std::string_view root, const CqDiskClusters& clusters);
    /// Sets the directory of relative names. Initially the first volume's root.
    void fnSetCurrentDirectory(std::string directory) { m_szCurrent = std::move(directory); }
    /// Sets the time of files written from now on, in seconds since 1970-01-01 00:00 UTC.
    void fnSetNow(std::int64_t seconds) { m_nNow = seconds; }
    /// That time; initially 2000-01-01 00:00 UTC.
    std::int64_t fnGetNow() const { return m_nNow; }

    /// Creates a directory with its parents. False if there is no volume or a file is in the way.
    bool fnPutDirectory(std::string_view path);
    /// Creates or replaces a file, with its parent directories, even when the disk is full. False
    /// as above, and for an open file.
    bool fnPutFile(std::string_view path, std::string_view bytes);
    /// Sets a file's time, in seconds since 1970. False if it is missing.
    bool fnSetTime(std::string_view path, std::int64_t seconds);
    /// The bytes of a file; none if it is missing.
    std::optional<std::string> fnGetFile(std::string_view path) const;
    /// Full names of all files, by volume and name.
    std::vector<std::string> fnGetFiles() const;
    /// Number of files that are open, mapped or viewed.
    std::size_t fnGetOpenFiles() const;
    /// Makes every later creation of that file fail with the cause; FILE_CAUSE_NONE ends that.
    void fnFailCreate(std::string_view path, CQ_FILE_CAUSE cause);

    // Called by the services.

    /// Whether there is a file of that name.
    bool fnIsFile(std::string_view path) const;
    /// Whether there is a directory of that name; the root of a volume is one.
    bool fnIsDirectory(std::string_view path) const;
    /// Creates one directory. False if it exists, if a file has its name, and without a parent.
    bool fnMakeDirectory(std::string_view path);
    /// Names of the files in a directory, without paths; none for an unknown directory.
    std::vector<std::string> fnList(std::string_view directory) const;
    /// Space of the volume of a directory. False if that is missing.
    bool fnGetSpace(std::string_view path, CqDiskSpace& space) const;
    /// The same as cluster counts, those of `fnSetClusters` if it was called.
    bool fnGetClusters(std::string_view path, CqDiskClusters& clusters) const;
    /// Size and time of a file, without opening it. False if it is missing.
    bool fnStat(std::string_view path, std::uint64_t& size, std::int64_t& time) const;
    /// The file, if it is open; else null.
    CqHeadlessFilePtr fnFindOpen(std::string_view path) const;

    /// Opens a file; `create` creates it if missing. Null with the cause on failure.
    CqHeadlessFilePtr fnOpen(std::string_view path, bool create, bool unshared,
                             CQ_FILE_CAUSE& cause);
    /// Releases one use. The last user of a changed file in a real folder writes it there; returns
    /// the cause if that fails.
    CQ_FILE_CAUSE fnClose(const CqHeadlessFilePtr& file);
    /// Sets the size of an open file; the disk must have space, and there must be no mapping.
    CQ_FILE_CAUSE fnResize(CqHeadlessFile& file, std::uint64_t size, bool spare = false);
    /// Notes that an open file was written.
    void fnTouch(CqHeadlessFile& file);
    /// Deletes a file that isn't open.
    bool fnDelete(std::string_view path);
    /// Renames a file, replacing an existing one, within a volume. Neither may be open. On failure,
    /// including lack of memory, both are unchanged.
    CQ_FILE_CAUSE fnReplace(std::string_view from, std::string_view to);

private:
    struct Place {
        std::size_t m_nVolume;
        std::vector<std::string> m_Names;
    };
    using Volume = q32::headless::Volume;

    Q32_LOCAL std::optional<Place> fnResolve(std::string_view path) const;
    Q32_LOCAL bool fnIsDirectory(const Place& place) const;
    Q32_LOCAL bool fnHasParent(Place place) const;
    Q32_LOCAL bool fnPutDirectory(const Place& place);
    Volume& fnVolumeOf(const Place& place) const { return *m_Volumes[place.m_nVolume]; }
    Q32_LOCAL CqHeadlessFilePtr fnNewFile(const Place& place);
    Q32_LOCAL Volume* fnFindRoot(std::string_view root);

    std::vector<std::unique_ptr<Volume>> m_Volumes;
    std::string m_szCurrent;
    std::int64_t m_nNow = 946684800;
    std::map<std::string, CQ_FILE_CAUSE> m_FailingNames;
};
