/// @file
/// Replacement of an old file by a new one. All paths are native; failures leave the last error.
///
/// The new file has a random name in the directory of the old one. Until it takes the other one's
/// place it is open to nobody else and marked for deletion, so that the system deletes it on every
/// failure and when the process ends. Only a process that is killed between the removal of that
/// mark and the renaming leaves it behind; the next replacement in that directory deletes it.
#pragma once

#include "platforms/win32/Handle_p.h"

#include <string>

namespace q32::win32 {

/// Replaces a path that is a link by its target. False if that can't be found.
bool fnFollow(std::wstring& path);

/// A new file that either takes the place of another one or is deleted.
class ReplacementFile {
public:
    /// Creates it. It exists until the handle is closed, or has taken its place.
    /// @param path  of the other file, with links followed
    /// @param file  receives the new file, open for reading and writing; unchanged on failure
    ReplacementFile(const std::wstring& path, Handle& file);

    /// Whether it was created.
    explicit operator bool() const { return m_bCreated; }

    /// Flushes it to disk and renames it, with permissions and attributes of the file there, or
    /// those of any new file. The file there must be writable and open to nobody. On failure
    /// nothing has changed.
    /// @param file  the new file
    bool fnTakePlace(const Handle& file) const;

private:
    bool fnCreate(const std::wstring& directory, Handle& file) const;
    bool fnTakeFacts(const Handle& file) const;

    std::wstring m_szTarget;
    bool m_bCreated;
};

} // namespace q32::win32
