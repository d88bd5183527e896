/// @file
/// Access to a volume's real folder. Symbolic links are neither followed nor listed.
#pragma once

#include "platforms/headless/CqHeadlessBlock.h"

#include <cstdint>
#include <string>
#include <vector>

namespace q32::headless {

/// A path below `m_szFolder`, by names from the top down.
struct FolderPlace {
    std::string m_szFolder;
    std::vector<std::string> m_Names;
};

// False on failure. Times are in seconds since 1970.
bool fnIsFolderFile(const FolderPlace& place);
bool fnIsFolderDirectory(const FolderPlace& place);
bool fnStatFolderFile(const FolderPlace& place, std::uint64_t& size, std::int64_t& time);
bool fnReadFolderFile(const FolderPlace& place, CqHeadlessBlock& bytes);
bool fnWriteFolderFile(const FolderPlace& place, const CqHeadlessBlock& bytes);
bool fnSetFolderTime(const FolderPlace& place, std::int64_t seconds);
bool fnDeleteFolderFile(const FolderPlace& place);
bool fnRenameFolderFile(const FolderPlace& from, const FolderPlace& to);
bool fnMakeFolderDirectory(const FolderPlace& place);
/// Names of the files in a directory, sorted.
std::vector<std::string> fnListFolder(const FolderPlace& place);
/// Paths of all files below the folder, with backslashes, sorted.
std::vector<std::string> fnListFolderTree(const FolderPlace& place);

} // namespace q32::headless
