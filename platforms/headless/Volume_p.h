/// @file
/// A volume of the headless disks, either in memory or in a real folder.
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

/// A root in the form used for comparison: folded, with a trailing backslash.
std::string fnRootKey(std::string_view root);

/// The part common to both kinds: a root, free space, and the files known in memory. Files and
/// directories are given by their names from the root down.
class Volume {
public:
    using Names = std::vector<std::string>;

    explicit Volume(const CqHeadlessVolume& setup);
    virtual ~Volume() = default;

    /// With a trailing backslash.
    const std::string& fnGetRoot() const { return m_Setup.m_szRoot; }
    const std::string& fnGetKey() const { return m_szKey; }

    std::uint64_t fnGetFree() const { return m_nCapacity > m_nUsed ? m_nCapacity - m_nUsed : 0; }
    void fnSetFree(std::uint64_t bytes);
    /// Sets the capacity in bytes, and returns the old one.
    std::uint64_t fnSwapCapacity(std::uint64_t bytes);
    CqDiskSpace fnGetSpace() const { return {fnGetFree(), m_Setup.m_nTotal}; }
    CqDiskClusters fnGetClusters() const;
    void fnSetClusters(const CqDiskClusters& clusters) { m_Clusters = clusters; }
    /// Counts the change of a file's size.
    void fnCount(std::uint64_t oldSize, std::uint64_t newSize);
    /// Counts the removal of a file.
    void fnUncount(std::uint64_t size);

    /// The file, if it is known in memory; else null.
    CqHeadlessFilePtr fnFindKnown(const Names& names) const;
    std::size_t fnGetOpenFiles() const;
    /// Adds the file to those known in memory.
    void fnKeep(const Names& names, const CqHeadlessFilePtr& file);
    /// Loads the file with its bytes; null if it is missing.
    CqHeadlessFilePtr fnLoad(const Names& names) const;
    bool fnStat(const Names& names, std::uint64_t& size, std::int64_t& time) const;
    bool fnSetTime(const Names& names, std::int64_t seconds);

    /// `names` must not be empty.
    virtual bool fnIsDirectory(const Names& names) const = 0;
    virtual bool fnMakeDirectory(const Names& names) = 0;
    /// Names of the files in a directory.
    virtual std::vector<std::string> fnList(const Names& directory) const = 0;
    /// Full names of all files.
    virtual std::vector<std::string> fnGetFiles() const = 0;
    /// Creates an empty file; none must exist.
    virtual bool fnCreate(const Names& names) = 0;
    /// Called when the last use of a file ends.
    virtual CQ_FILE_CAUSE fnEndUse(CqHeadlessFile& file) = 0;
    virtual bool fnDelete(const Names& names) = 0;
    /// Renames a file that isn't open, replacing an existing one. On failure, including lack of
    /// memory, nothing changes.
    virtual bool fnRename(const Names& from, const Names& to) = 0;

protected:
    // For files that aren't known in memory.

    virtual CqHeadlessFilePtr fnLoadUnknown(const Names&) const { return nullptr; }
    virtual bool fnStatUnknown(const Names&, std::uint64_t&, std::int64_t&) const { return false; }
    virtual bool fnSetTimeUnknown(const Names&, std::int64_t) { return false; }

    CqHeadlessVolume m_Setup;
    std::map<std::string, CqHeadlessFilePtr> m_Files; ///< files known in memory, by folded path

private:
    std::string m_szKey;
    std::uint64_t m_nCapacity; ///< bytes available to files
    std::uint64_t m_nUsed = 0; ///< bytes used by files
    std::optional<CqDiskClusters> m_Clusters;
};

} // namespace q32::headless
