#include "platforms/win32/FileAccess_p.h"
#include "platforms/win32/Path_p.h"
#include "platforms/win32/ReplaceFile_p.h"

#include <aclapi.h>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

namespace q32::win32 {

namespace {

constexpr int kMaxNames = 100;
constexpr std::wstring_view kPrefix = L".q32save-";
constexpr std::size_t kDigits = 16;
static_assert(kPrefix.size() + kDigits <= kMaxAppended);
constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                  FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

bool fnIsOurName(std::wstring_view name) {
    return name.size() == kPrefix.size() + kDigits && name.starts_with(kPrefix) &&
           name.find_first_not_of(L"0123456789abcdef", kPrefix.size()) == std::wstring_view::npos;
}

/// Whether the file system has no permissions, and so none to copy.
bool fnHasNoPermissions(DWORD error) {
    return error == ERROR_NOT_SUPPORTED || error == ERROR_INVALID_FUNCTION;
}

/// Gives a file the access list of another one, with or without entries of its directory.
bool fnCopyAccess(const Handle& from, const Handle& to) {
    struct SecurityDescriptor {
        PSECURITY_DESCRIPTOR m_pBlock = nullptr;
        ~SecurityDescriptor() { ::LocalFree(m_pBlock); }
    } old;
    ACL* list = nullptr;
    DWORD error = ::GetSecurityInfo(from.fnGet(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                    nullptr, nullptr, &list, nullptr, &old.m_pBlock);
    if (error == ERROR_SUCCESS) {
        SECURITY_DESCRIPTOR_CONTROL control = 0;
        DWORD revision = 0;
        ::GetSecurityDescriptorControl(old.m_pBlock, &control, &revision);
        const DWORD inherits = (control & SE_DACL_PROTECTED) != 0
                                   ? PROTECTED_DACL_SECURITY_INFORMATION
                                   : UNPROTECTED_DACL_SECURITY_INFORMATION;
        error = ::SetSecurityInfo(to.fnGet(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | inherits,
                                  nullptr, nullptr, list, nullptr);
    }
    if (error == ERROR_SUCCESS || fnHasNoPermissions(error))
        return true;
    ::SetLastError(error);
    return false;
}

bool fnCopyAttributes(const Handle& from, const Handle& to) {
    FILE_BASIC_INFO old{};
    FILE_BASIC_INFO info{}; // times of 0 stay as they are
    if (!::GetFileInformationByHandleEx(from.fnGet(), FileBasicInfo, &old, sizeof old))
        return false;
    info.FileAttributes = old.FileAttributes & kKeptAttributes;
    if (info.FileAttributes == 0)
        info.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    return ::SetFileInformationByHandle(to.fnGet(), FileBasicInfo, &info, sizeof info);
}

/// Deletes what killed processes left in a directory.
void fnSweep(const std::wstring& directory) {
    fnForEachEntry(directory, [&](const WIN32_FIND_DATAW& entry) {
        if (fnIsOurName(entry.cFileName) &&
            (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            fnDeleteUnheld((directory + entry.cFileName).c_str());
    });
}

/// Sets or removes the mark that the system deletes the file when it is closed.
bool fnMark(const Handle& file, bool deleted) {
    FILE_DISPOSITION_INFO info;
    info.DeleteFile = deleted;
    return ::SetFileInformationByHandle(file.fnGet(), FileDispositionInfo, &info, sizeof info);
}

bool fnIsFile(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

/// A request to rename a file, and to replace what is there.
std::vector<std::byte> fnMakeRename(const std::wstring& target) {
    const std::size_t bytes = target.size() * sizeof(wchar_t);
    std::vector<std::byte> block(sizeof(FILE_RENAME_INFO) + bytes); // a NUL follows the name
    auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(block.data());
    info->ReplaceIfExists = TRUE;
    info->FileNameLength = static_cast<DWORD>(bytes);
    std::memcpy(info->FileName, target.c_str(), bytes);
    return block;
}

} // namespace

bool fnFollow(std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return true;
    const Handle target(::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                      kShareUse | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0,
                                      nullptr));
    std::wstring final(kMaxPathUnits, L'\0');
    const DWORD length =
        target ? ::GetFinalPathNameByHandleW(target.fnGet(), final.data(), kMaxPathUnits, 0) : 0;
    if (length == 0 || length >= final.size())
        return false;
    final.resize(length);
    path = std::move(final);
    return true;
}

ReplacementFile::ReplacementFile(const std::wstring& path, Handle& file) : m_szTarget(path) {
    const std::wstring directory = fnSplitPath(path).m_szDirectory;
    fnSweep(directory);
    m_bCreated = fnCreate(directory, file);
}

bool ReplacementFile::fnCreate(const std::wstring& directory, Handle& file) const {
    for (int i = 0; i < kMaxNames; ++i) {
        const std::string digits = fnRandomDigits();
        std::wstring name = directory;
        name.append(kPrefix).append(digits.begin(), digits.end());
        Handle made = fnOpenFile(name.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE | WRITE_DAC,
                                 kShareNone, CREATE_NEW);
        if (!made && ::GetLastError() == ERROR_FILE_EXISTS)
            continue;
        if (!made)
            return false;
        if (fnMark(made, true)) {
            file = std::move(made);
            return true;
        }
        const DWORD cause = ::GetLastError();
        made.fnClose();
        fnDeleteUnheld(name.c_str());
        ::SetLastError(cause);
        return false;
    }
    return false;
}

/// Takes over the facts of the file that is to be replaced, if there is one.
bool ReplacementFile::fnTakeFacts(const Handle& file) const {
    // Who may not delete it may not replace it.
    const Handle old =
        fnOpenFile(m_szTarget.c_str(), GENERIC_READ | GENERIC_WRITE | READ_CONTROL | DELETE,
                   kShareNone, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
    if (!old)
        return ::GetLastError() == ERROR_FILE_NOT_FOUND;
    return fnCopyAccess(old, file) && fnCopyAttributes(old, file);
}

bool ReplacementFile::fnTakePlace(const Handle& file) const {
    // Nothing may fail for memory once the file isn't marked any more.
    std::vector<std::byte> request = fnMakeRename(m_szTarget);
    // The facts come last: until the renaming, somebody else may open the file there.
    if (!::FlushFileBuffers(file.fnGet()) || !fnTakeFacts(file) || !fnMark(file, false))
        return false;
    if (::SetFileInformationByHandle(file.fnGet(), FileRenameInfo, request.data(),
                                     static_cast<DWORD>(request.size())))
        return true;
    const DWORD cause = ::GetLastError();
    fnMark(file, true);
    // Access was granted a moment ago: the system refuses to replace an open file with this cause.
    const bool isOpen = cause == ERROR_ACCESS_DENIED && fnIsFile(m_szTarget);
    ::SetLastError(isOpen ? ERROR_SHARING_VIOLATION : cause);
    return false;
}

} // namespace q32::win32
