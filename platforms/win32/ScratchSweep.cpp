#include "platforms/win32/FileAccess_p.h"
#include "platforms/win32/Path_p.h"
#include "platforms/win32/win32.h"

using namespace q32::win32;

namespace {

constexpr std::wstring_view kScratchMask = L"~qd*.tmp";

} // namespace

std::size_t q32Win32SweepScratchFiles(const char* directory, UINT codePage) {
    std::wstring path = fnNativePath(CodePage(codePage), directory);
    if (path.empty())
        return 0;
    if (path.back() != L'\\')
        path += L'\\';
    std::size_t deleted = 0;
    fnForEachEntry(path, [&](const WIN32_FIND_DATAW& entry) {
        constexpr DWORD kOther = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
        if ((entry.dwFileAttributes & kOther) != 0 || !fnMatches(kScratchMask, entry.cFileName))
            return;
        const NativePath file((path + entry.cFileName).c_str()); // a name may be of any length
        if (file && fnDeleteUnheld(file.fnGet()))
            ++deleted;
    });
    return deleted;
}

std::size_t q32Win32SweepScratchFiles(std::span<const std::string> directories, UINT codePage) {
    std::size_t deleted = 0;
    for (const std::string& directory : directories)
        if (!directory.empty())
            deleted += q32Win32SweepScratchFiles(directory.c_str(), codePage);
    return deleted;
}
