#include "platforms/win32/FileAccess_p.h"

#include <algorithm>
#include <bcrypt.h>
#include <string_view>

namespace q32::win32 {

namespace {

constexpr DWORD kDiskQuotaExceeded = 1295;                 // not in the headers of MinGW
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30; ///< by one call

OVERLAPPED fnAt(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

} // namespace

CQ_FILE_CAUSE fnFileCause(DWORD error) {
    switch (error) {
    case ERROR_SUCCESS:
        return FILE_CAUSE_NONE;
    case ERROR_FILE_NOT_FOUND:
        return FILE_CAUSE_NOT_FOUND;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_DIRECTORY:
    case ERROR_NO_UNICODE_TRANSLATION:
        return FILE_CAUSE_BAD_PATH;
    case ERROR_TOO_MANY_OPEN_FILES:
        return FILE_CAUSE_TOO_MANY_OPEN;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return FILE_CAUSE_ACCESS_DENIED;
    case ERROR_INVALID_HANDLE:
        return FILE_CAUSE_INVALID;
    case ERROR_CURRENT_DIRECTORY:
        return FILE_CAUSE_REMOVE_CURRENT_DIR;
    case ERROR_SEEK:
    case ERROR_NEGATIVE_SEEK:
        return FILE_CAUSE_BAD_SEEK;
    case ERROR_CRC:
    case ERROR_NOT_READY:
    case ERROR_SECTOR_NOT_FOUND:
    case ERROR_WRITE_FAULT:
    case ERROR_READ_FAULT:
    case ERROR_GEN_FAILURE:
    case ERROR_IO_DEVICE:
        return FILE_CAUSE_HARD_IO;
    case ERROR_SHARING_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
        return FILE_CAUSE_SHARING_VIOLATION;
    case ERROR_LOCK_VIOLATION:
        return FILE_CAUSE_LOCK_VIOLATION;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded:
        return FILE_CAUSE_DISK_FULL;
    case ERROR_HANDLE_EOF:
        return FILE_CAUSE_END_OF_FILE;
    default:
        return FILE_CAUSE_GENERIC;
    }
}

Handle fnOpenFile(const wchar_t* path, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    Handle file(::CreateFileW(path, access, share, nullptr, disposition, flags, nullptr));
    if (!file) {
        // The system's error for an existing directory depends on how its name ends.
        const DWORD cause = ::GetLastError();
        const DWORD attributes = ::GetFileAttributesW(path);
        const bool isDirectory =
            attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        ::SetLastError(isDirectory ? ERROR_ACCESS_DENIED : cause);
        return {};
    }
    if (::GetFileType(file.fnGet()) != FILE_TYPE_DISK) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return {};
    }
    return file;
}

bool fnDeleteUnheld(const wchar_t* path) {
    Handle file = fnOpenFile(path, DELETE, kShareNone, OPEN_EXISTING,
                             FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT);
    return file && file.fnClose();
}

bool fnIsNameOf(const wchar_t* path, const Handle& file) {
    const Handle named(::CreateFileW(path, FILE_READ_ATTRIBUTES, kShareUse | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT,
                                     nullptr));
    BY_HANDLE_FILE_INFORMATION one{};
    BY_HANDLE_FILE_INFORMATION other{};
    if (!named || !::GetFileInformationByHandle(named.fnGet(), &one) ||
        !::GetFileInformationByHandle(file.fnGet(), &other))
        return false;
    const bool same = one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
                      one.nFileIndexHigh == other.nFileIndexHigh &&
                      one.nFileIndexLow == other.nFileIndexLow;
    if (!same)
        ::SetLastError(ERROR_FILE_INVALID);
    return same;
}

void fnForEachEntry(const std::wstring& directory,
                    const std::function<void(const WIN32_FIND_DATAW& entry)>& visit) {
    WIN32_FIND_DATAW entry;
    struct Search {
        HANDLE m_Handle;
        ~Search() {
            if (m_Handle != INVALID_HANDLE_VALUE)
                ::FindClose(m_Handle);
        }
    };
    const Search search{::FindFirstFileW((directory + L'*').c_str(), &entry)};
    if (search.m_Handle == INVALID_HANDLE_VALUE)
        return;
    do {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L"..")
            visit(entry);
    } while (::FindNextFileW(search.m_Handle, &entry));
}

std::optional<std::size_t> fnReadAt(const Handle& file, void* buffer, std::size_t count,
                                    std::uint64_t offset) {
    std::size_t done = 0;
    while (done < count) {
        OVERLAPPED place = fnAt(offset + done);
        DWORD got = 0;
        const auto part = static_cast<DWORD>(std::min(count - done, kMaxTransfer));
        if (!::ReadFile(file.fnGet(), static_cast<char*>(buffer) + done, part, &got, &place)) {
            if (::GetLastError() == ERROR_HANDLE_EOF)
                break;
            return std::nullopt;
        }
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

bool fnWriteAt(const Handle& file, const void* buffer, std::size_t count, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < count) {
        OVERLAPPED place = fnAt(offset + done);
        DWORD put = 0;
        const auto part = static_cast<DWORD>(std::min(count - done, kMaxTransfer));
        if (!::WriteFile(file.fnGet(), static_cast<const char*>(buffer) + done, part, &put, &place))
            return false;
        if (put == 0) {
            ::SetLastError(ERROR_DISK_FULL);
            return false;
        }
        done += put;
    }
    return true;
}

bool fnGetSize(const Handle& file, std::uint64_t& size) {
    LARGE_INTEGER length;
    if (!::GetFileSizeEx(file.fnGet(), &length))
        return false;
    size = static_cast<std::uint64_t>(length.QuadPart);
    return true;
}

bool fnSetEnd(const Handle& file, std::uint64_t size) {
    FILE_END_OF_FILE_INFO info;
    info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    return ::SetFileInformationByHandle(file.fnGet(), FileEndOfFileInfo, &info, sizeof info);
}

std::string fnRandomDigits() {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::uint64_t bits = 0;
    if (::BCryptGenRandom(nullptr, reinterpret_cast<UCHAR*>(&bits), sizeof bits,
                          BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0) {
        LARGE_INTEGER now;
        ::QueryPerformanceCounter(&now);
        bits = static_cast<std::uint64_t>(now.QuadPart) * 0x9E3779B97F4A7C15u ^
               ::GetCurrentProcessId();
    }
    std::string digits;
    for (int digit = 0; digit < 16; ++digit, bits >>= 4)
        digits += kDigits[bits & 15];
    return digits;
}

} // namespace q32::win32
