/// @file
/// A volume of the headless disks. There are two kinds: one in memory, and one in a real folder.
#pragma once

#include "platforms/headless/CqHeadlessFile.h"
#include "platforms/headless/CqHeadlessVolume.h"
#include "q32Base/platform/CqFileService.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace q32::headless {

/// A root as it is compared: folded, with a backslash at its end.
std::string fnRootKey(std::string_view root);

/// What both kinds have: a root, room, and the files that are known in memory. Files and
/// directories are given by their names from the root down.
class Volume {
public:
    using Names = std::vector<std::string>;

    explicit Volume(const CqHeadlessVolume& setup);
    virtual ~Volume() = default;

    /// With a backslash at its end.
    const std::string& fnGetRoot() const { return m_Setup.m_szRoot; }
    const std::string& fnGetKey() const { return m_szKey; }

    std::uint64_t fnGetFree() const { return m_nCapacity > m_nUsed ? m_nCapacity - m_nUsed : 0; }
    void fnSetFree(std::uint64_t bytes);
    /// Sets the bytes for files, and returns what they were.
    std::uint64_t fnSwapCapacity(std::uint64_t bytes);
    CqDiskSpace fnGetSpace() const { return {fnGetFree(), m_Setup.m_nTotal}; }
    CqDiskClusters fnGetClusters() const;
    void fnSetClusters(const CqDiskClusters& clusters) { m_Clusters = clusters; }
    /// A file has a new size.
    void fnCount(std::uint64_t oldSize, std::uint64_t newSize);
    /// A file is gone.
    void fnUncount(std::uint64_t size);

    /// A file that is known in memory; else null.
    CqHeadlessFilePtr fnFindKnown(const Names& names) const;
    std::size_t fnGetOpenFiles() const;
    /// From now on the file is known in memory.
    void fnKeep(const Names& names, const CqHeadlessFilePtr& file);
    /// The file with its bytes; null when it is missing.
    CqHeadlessFilePtr fnLoad(const Names& names) const;
    bool fnStat(const Names& names, std::uint64_t& size, std::int64_t& time) const;
    bool fnSetTime(const Names& names, std::int64_t seconds);

    /// `names` aren't empty.
    virtual bool fnIsDirectory(const Names& names) const = 0;
    virtual bool fnMakeDirectory(const Names& names) = 0;
    /// Names of the files in a directory.
    virtual std::vector<std::string> fnList(const Names& directory) const = 0;
    /// Full names of all files.
    virtual std::vector<std::string> fnGetFiles() const = 0;
    /// Makes an empty file, where none is.
    virtual bool fnCreate(const Names& names) = 0;
    /// The last user of a file is gone.
    virtual CQ_FILE_CAUSE fnEndUse(CqHeadlessFile& file) = 0;
    virtual bool fnDelete(const Names& names) = 0;
    /// Gives a file that nobody has open another name, in place of a file that has it. On failure,
    /// also for lack of memory, all is as it was.
    virtual bool fnRename(const Names& from, const Names& to) = 0;

protected:
    // Files that aren't known in memory.

    virtual CqHeadlessFilePtr fnLoadUnknown(const Names&) const { return nullptr; }
    virtual bool fnStatUnknown(const Names&, std::uint64_t&, std::int64_t&) const { return false; }
    virtual bool fnSetTimeUnknown(const Names&, std::int64_t) { return false; }

    CqHeadlessVolume m_Setup;
    std::map<std::string, CqHeadlessFilePtr> m_Files; ///< those known in memory, by folded path

private:
    std::string m_szKey;
    std::uint64_t m_nCapacity; ///< bytes for files
    std::uint64_t m_nUsed = 0; ///< bytes of files
    std::optional<CqDiskClusters> m_Clusters;
};

} // namespace q32::headless
