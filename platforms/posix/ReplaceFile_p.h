/// @file
/// Replacement of an old file by a new one. All paths are native; failures leave errno.
///
/// The new file has a random name in the directory of the old one and mode 0600, and is locked
/// until it has taken the other one's place. Every failure deletes it. What a killed process leaves
/// behind isn't locked, and is deleted when a file of the same directory is next replaced. On a
/// file system without locks a file counts as left behind once nothing was written to it for a day.
#pragma once

#include "platforms/common/Descriptor_p.h"

#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace q32::posix {

/// Replaces a path by the target of the links at its end, which need not exist yet.
bool fnFollow(std::string& path);

/// A new file that either takes the place of another one or is deleted.
class ReplacementFile {
public:
    /// Creates it.
    /// @param path  of the other file, with links followed
    /// @param file  receives the new file, open for reading and writing; unchanged on failure
    ReplacementFile(const std::string& path, Descriptor& file);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    /// Whether it was created and hasn't taken its place yet.
    explicit operator bool() const { return m_bStands; }

    /// Flushes it to disk and renames it, with mode and, as far as the caller is permitted, owner
    /// of the file there. Once it is renamed nothing can fail: that the directory can't be flushed
    /// is ignored, since every reader sees the new file.
    /// @param file     the new file
    /// @param newMode  its mode if no file is there; none: that of any new file, by the umask
    bool fnTakePlace(const Descriptor& file, std::optional<mode_t> newMode);

    int fnGetDirectory() const { return m_Directory.fnGet(); }
    const char* fnGetTarget() const { return m_szTarget.c_str(); }

private:
    bool fnOpenDirectory(const std::string& path);
    bool fnCreate(Descriptor& file);

    Descriptor m_Directory;
    std::string m_szTarget; ///< a name in the directory
    std::string m_szName;   ///< its own name there
    bool m_bStands = false;
};

} // namespace q32::posix
