#include "platforms/headless/FolderVolume_p.h"
#include "platforms/headless/Path_p.h"

#include <string_view>

namespace q32::headless {

bool FolderVolume::fnIsDirectory(const Names& names) const {
    return fnIsFolderDirectory(fnAt(names));
}

bool FolderVolume::fnMakeDirectory(const Names& names) {
    return fnMakeFolderDirectory(fnAt(names));
}

std::vector<std::string> FolderVolume::fnList(const Names& directory) const {
    return fnListFolder(fnAt(directory));
}

std::vector<std::string> FolderVolume::fnGetFiles() const {
    std::vector<std::string> names = fnListFolderTree(fnAt({}));
    for (std::string& name : names)
        name.insert(0, fnGetRoot());
    return names;
}

bool FolderVolume::fnCreate(const Names& names) {
    return fnWriteFolderFile(fnAt(names), CqHeadlessBlock());
}

CQ_FILE_CAUSE FolderVolume::fnEndUse(CqHeadlessFile& file) {
    const Names names = fnListPathNames(std::string_view(file.m_szName).substr(fnGetRoot().size()));
    m_Files.erase(fnNamesKey(names));
    return !file.m_bChanged || fnWriteFolderFile(fnAt(names), file.m_Bytes) ? FILE_CAUSE_NONE
                                                                            : FILE_CAUSE_HARD_IO;
}

bool FolderVolume::fnDelete(const Names& names) {
    return fnDeleteFolderFile(fnAt(names));
}

bool FolderVolume::fnRename(const Names& from, const Names& to) {
    return fnRenameFolderFile(fnAt(from), fnAt(to));
}

CqHeadlessFilePtr FolderVolume::fnLoadUnknown(const Names& names) const {
    auto file = std::make_shared<CqHeadlessFile>();
    std::uint64_t size = 0;
    if (!fnStatFolderFile(fnAt(names), size, file->m_nTime) ||
        !fnReadFolderFile(fnAt(names), file->m_Bytes))
        return nullptr;
    file->m_szName = fnGetRoot() + fnJoinNames(names);
    return file;
}

bool FolderVolume::fnStatUnknown(const Names& names, std::uint64_t& size,
                                 std::int64_t& time) const {
    return fnStatFolderFile(fnAt(names), size, time);
}

bool FolderVolume::fnSetTimeUnknown(const Names& names, std::int64_t seconds) {
    return fnSetFolderTime(fnAt(names), seconds);
}

} // namespace q32::headless
