#pragma once

#include "platforms/headless/Folder_p.h"
#include "platforms/headless/Volume_p.h"

#include <string>
#include <vector>

namespace q32::headless {

/// A volume whose files are those of a real folder. Open files are held in memory, and written by
/// their last user if changed.
class FolderVolume final : public Volume {
public:
    using Volume::Volume;

    bool fnIsDirectory(const Names& names) const override;
    bool fnMakeDirectory(const Names& names) override;
    std::vector<std::string> fnList(const Names& directory) const override;
    std::vector<std::string> fnGetFiles() const override;
    bool fnCreate(const Names& names) override;
    CQ_FILE_CAUSE fnEndUse(CqHeadlessFile& file) override;
    bool fnDelete(const Names& names) override;
    bool fnRename(const Names& from, const Names& to) override;

private:
    CqHeadlessFilePtr fnLoadUnknown(const Names& names) const override;
    bool fnStatUnknown(const Names& names, std::uint64_t& size, std::int64_t& time) const override;
    bool fnSetTimeUnknown(const Names& names, std::int64_t seconds) override;

    FolderPlace fnAt(const Names& names) const { return {m_Setup.m_szFolder, names}; }
};

} // namespace q32::headless
