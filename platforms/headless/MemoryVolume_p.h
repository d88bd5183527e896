#pragma once

#include "platforms/headless/Volume_p.h"

#include <map>
#include <string>
#include <vector>

namespace q32::headless {

/// A volume whose files and directories are all in memory.
class MemoryVolume final : public Volume {
public:
    using Volume::Volume;

    bool fnIsDirectory(const Names& names) const override;
    bool fnMakeDirectory(const Names& names) override;
    std::vector<std::string> fnList(const Names& directory) const override;
    std::vector<std::string> fnGetFiles() const override;
    bool fnCreate(const Names&) override { return true; }
    CQ_FILE_CAUSE fnEndUse(CqHeadlessFile&) override { return FILE_CAUSE_NONE; }
    bool fnDelete(const Names& names) override;
    bool fnRename(const Names& from, const Names& to) override;

private:
    std::map<std::string, std::string> m_Directories; ///< folded path to path
};

} // namespace q32::headless
