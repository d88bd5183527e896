#include "platforms/win32/CqWin32Files_p.h"
#include "platforms/win32/CqWin32FileStream_p.h"
#include "platforms/win32/CqWin32Options.h"
#include "platforms/win32/CqWin32Replacement_p.h"
#include "platforms/win32/FileAccess_p.h"
#include "platforms/win32/FileTime_p.h"
#include "platforms/win32/Path_p.h"
#include "platforms/win32/TextFile_p.h"

#include <algorithm>
#include <cwchar>
#include <shlobj.h>
#include <utility>

using namespace q32::win32;

namespace {

constexpr wchar_t kConfigFolder[] = L"\\q32Base";

bool fnIsSeparator(wchar_t unit) {
    return unit == L'\\' || unit == L'/';
}

/// With one backslash at its end, in the library's form; empty for an empty directory, and for one
/// without such a form.
std::string fnLibraryDirectory(const CodePage& codePage, std::wstring directory) {
    std::string path;
    if (directory.empty())
        return path;
    if (!fnIsSeparator(directory.back()))
        directory += L'\\';
    fnLibraryPath(codePage, directory, path);
    return path;
}

std::wstring fnGetSystemTemp() {
    wchar_t path[MAX_PATH + 2];
    const DWORD length = ::GetTempPathW(MAX_PATH + 2, path);
    return length > MAX_PATH + 1 ? std::wstring() : std::wstring(path, length);
}

std::wstring fnGetSystemConfig() {
    wchar_t path[MAX_PATH];
    if (::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path) != S_OK)
        return {};
    return std::wstring(path) + kConfigFolder;
}

std::string fnChoose(const CodePage& codePage, const std::string& chosen,
                     std::wstring (*system)()) {
    return fnLibraryDirectory(codePage, chosen.empty() ? system() : fnNativePath(codePage, chosen));
}

bool fnIsDirectory(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Creates a directory and its missing parents.
bool fnMakeDirectories(const std::wstring& path) {
    if (fnIsDirectory(path))
        return true;
    std::wstring parent = path;
    while (!parent.empty() && fnIsSeparator(parent.back()))
        parent.pop_back();
    parent = fnSplitPath(parent).m_szDirectory;
    // Another process may create it at the same time.
    return parent.size() < path.size() && !parent.empty() && fnMakeDirectories(parent) &&
           (::CreateDirectoryW(path.c_str(), nullptr) || fnIsDirectory(path));
}

/// The directory that a path names, or that holds the file it names; empty if there is neither.
std::wstring fnGetDirectory(const std::wstring& path) {
    if (path.empty() || ::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
        return {};
    return fnIsDirectory(path) ? path : fnSplitPath(path).m_szDirectory;
}

/// The root of the volume that holds a directory; empty for none.
std::wstring fnGetVolume(const std::wstring& directory) {
    std::wstring root(directory.size() + MAX_PATH, L'\0');
    if (directory.empty() ||
        !::GetVolumePathNameW(directory.c_str(), root.data(), static_cast<DWORD>(root.size())))
        return {};
    root.resize(std::wcslen(root.c_str()));
    return root;
}

} // namespace

CqWin32Files::CqWin32Files(const CqWin32Options& options, std::shared_ptr<const CodePage> codePage)
    : m_Patience(options.m_SettingsPatience), m_pCodePage(std::move(codePage)),
      m_szTempDirectory(fnChoose(*m_pCodePage, options.m_szTempDirectory, fnGetSystemTemp)),
      m_szConfigDirectory(fnChoose(*m_pCodePage, options.m_szConfigDirectory, fnGetSystemConfig)) {}

std::wstring CqWin32Files::fnNative(const char* path) const {
    return fnNativePath(*m_pCodePage, path);
}

bool CqWin32Files::fnGetTempDirectory(std::string& directory) {
    if (m_szTempDirectory.empty())
        return false;
    directory = m_szTempDirectory;
    return true;
}

bool CqWin32Files::fnGetConfigDirectory(std::string& directory) {
    if (m_szConfigDirectory.empty())
        return false;
    directory = m_szConfigDirectory;
    return true;
}

bool CqWin32Files::fnExists(const char* path) {
    const std::wstring native = fnNative(path);
    return !native.empty() && ::GetFileAttributesW(native.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool CqWin32Files::fnCreateDirectory(const char* path) {
    const std::wstring native = fnNative(path);
    return !native.empty() && ::CreateDirectoryW(native.c_str(), nullptr);
}

std::vector<std::string> CqWin32Files::fnFind(const char* mask) {
    // Made absolute without its pattern, which could be no name of the system.
    std::wstring wide(kMaxPathUnits, L'\0');
    if (!m_pCodePage->fnToWide(mask, wide.data(), kMaxPathUnits))
        return {};
    wide.resize(std::wcslen(wide.c_str()));
    const SplitPath split = fnSplitPath(wide);
    const NativePath directory(split.m_szDirectory.empty() ? L".\\" : split.m_szDirectory.c_str());
    if (!directory)
        return {};
    std::vector<std::string> names;
    fnForEachEntry(directory.fnGet(), [&](const WIN32_FIND_DATAW& entry) {
        std::string name;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 &&
            fnMatches(split.m_szName, entry.cFileName) &&
            m_pCodePage->fnFromWide(entry.cFileName, name))
            names.push_back(std::move(name));
    });
    std::sort(names.begin(), names.end());
    return names;
}

bool CqWin32Files::fnDelete(const char* name) {
    const std::wstring native = fnNative(name);
    return !native.empty() && ::DeleteFileW(native.c_str());
}

bool CqWin32Files::fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) {
    const std::wstring native = fnNative(name);
    if (native.empty())
        return false;
    if (exclusive && !fnOpenFile(native.c_str(), GENERIC_READ, kShareNone, OPEN_EXISTING))
        return false;
    WIN32_FILE_ATTRIBUTE_DATA facts;
    if (!::GetFileAttributesExW(native.c_str(), GetFileExInfoStandard, &facts) ||
        (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return false;
    info = {std::uint64_t{facts.nFileSizeHigh} << 32 | facts.nFileSizeLow,
            fnFromFileTime(facts.ftLastWriteTime)};
    return true;
}

bool CqWin32Files::fnGetSpace(const char* path, CqDiskSpace& space) {
    const std::wstring directory = fnGetDirectory(fnNative(path));
    ULARGE_INTEGER available;
    ULARGE_INTEGER total;
    if (directory.empty() || !::GetDiskFreeSpaceExW(directory.c_str(), &available, &total, nullptr))
        return false;
    space = {available.QuadPart, total.QuadPart};
    return true;
}

bool CqWin32Files::fnGetClusters(const char* path, CqDiskClusters& clusters) {
    const std::wstring volume = fnGetVolume(fnGetDirectory(fnNative(path)));
    DWORD sectors = 0;
    DWORD bytes = 0;
    DWORD free = 0;
    DWORD total = 0;
    if (volume.empty() || !::GetDiskFreeSpaceW(volume.c_str(), &sectors, &bytes, &free, &total))
        return false;
    clusters = {sectors, bytes, free, total};
    return true;
}

std::unique_ptr<CqFileStream> CqWin32Files::fnOpen(const char* name, const CqFileMode& mode,
                                                   CQ_FILE_CAUSE& cause) {
    const std::wstring native = fnNative(name);
    if (native.empty()) {
        cause = fnFileCause(::GetLastError());
        return nullptr;
    }
    return CqWin32FileStream::fnOpen(native.c_str(), mode, cause);
}

std::unique_ptr<CqFileReplacement> CqWin32Files::fnOpenReplacement(const char* name,
                                                                   CQ_FILE_CAUSE& cause) {
    return CqWin32Replacement::fnOpen(fnNative(name), cause);
}

bool CqWin32Files::fnReadText(const char* name, std::string& text) {
    const std::wstring native = fnNative(name);
    return !native.empty() && fnReadTextFile(native, m_Patience, text);
}

bool CqWin32Files::fnUpdateText(const char* name,
                                const std::function<bool(std::string& text)>& edit) {
    const std::wstring path = fnNative(name);
    const std::wstring directory = fnSplitPath(path).m_szDirectory;
    const std::wstring config =
        m_szConfigDirectory.empty() ? std::wstring() : fnNative(m_szConfigDirectory.c_str());
    // Between the two may be the length from which paths have a prefix.
    if (!config.empty() && fnPlainPath(directory) == fnPlainPath(config) &&
        !fnMakeDirectories(directory))
        return false;
    return !path.empty() && fnUpdateTextFile(path, m_Patience, edit);
}
