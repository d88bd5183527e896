/// @file
/// Operations shared by scratch files, streams and settings. All paths are native; failures leave
/// the thread's last error.
#pragma once

#include "platforms/win32/Handle_p.h"
#include "q32Base/platform/CqFileService.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace q32::win32 {

/// Sharing: with nobody, and with everybody except who deletes.
inline constexpr DWORD kShareNone = 0;
inline constexpr DWORD kShareUse = FILE_SHARE_READ | FILE_SHARE_WRITE;

/// The library's cause for an error of the system.
CQ_FILE_CAUSE fnFileCause(DWORD error);
/// The same for the error of the last call of the system.
inline CQ_FILE_CAUSE fnLastCause() {
    return fnFileCause(::GetLastError());
}

/// Opens a file of a disk. Anything else, such as a directory or a device, gives
/// ERROR_ACCESS_DENIED.
/// @param flags  as for `CreateFile`: attributes and flags
Handle fnOpenFile(const wchar_t* path, DWORD access, DWORD share, DWORD disposition,
                  DWORD flags = FILE_ATTRIBUTE_NORMAL);

/// Deletes a file that nobody has open. A link is deleted itself.
bool fnDeleteUnheld(const wchar_t* path);

/// Whether `path` is this very file and no link.
bool fnIsNameOf(const wchar_t* path, const Handle& file);

/// Calls `visit` with the name and attributes of each entry of a directory, except `.` and `..`.
/// @param directory  with a separator at its end
void fnForEachEntry(const std::wstring& directory,
                    const std::function<void(const WIN32_FIND_DATAW& entry)>& visit);

/// Reads up to `count` bytes at `offset`; fewer only at the end of the file. Nothing on failure.
std::optional<std::size_t> fnReadAt(const Handle& file, void* buffer, std::size_t count,
                                    std::uint64_t offset);
/// Writes all bytes at `offset`.
bool fnWriteAt(const Handle& file, const void* buffer, std::size_t count, std::uint64_t offset);
bool fnGetSize(const Handle& file, std::uint64_t& size);
bool fnSetEnd(const Handle& file, std::uint64_t size);

/// 16 random hexadecimal digits. They need not be unpredictable: names are created exclusively.
std::string fnRandomDigits();

} // namespace q32::win32
