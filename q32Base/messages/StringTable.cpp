#include "q32Base/framework/CString.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/StringTable_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

namespace q32 {
namespace {

struct Entry {
    UINT m_nId;
    const char* m_szText;
};

/// Sorted by id.
constexpr Entry kTable[] = {
    {16, "Save the content of this window"},
    {32, "Places the window above all other windows"},
    {100, " Bytes"},
    {101, " KB"},
    {102, " MB"},
    {103, " GB"},
    {104, "Press Esc to abort..."},
    {105, "~qd"},
    {106, "~qd*.tmp"},
    {107, "Plain Text File (txt)"},
    {200, "ScratchFlag1"},
    {201, "ScratchFlag2"},
    {202, "ScratchFlag3"},
    {203, "ScratchFlag4"},
    {204, "ScratchPath1"},
    {205, "ScratchPath2"},
    {206, "ScratchPath3"},
    {207, "ScratchPath4"},
    {208, "MemPercent"},
    {209, "MemEnabled"},
    {210, "DitherHC"},
    {211, "GammaFlag"},
    {212, "GammaVal"},
    {213, "VMPolicy"},
    {214, "DispProp"},
    {215, "DumpWnd"},
    {216, "Layout"},
    {217, "PrefDir"},
    {218, "OnTop"},
    {219, "Qkz.cfg"},
    {300, "Sa&ve..."},
    {301, "Al&ways On Top"},
    {9800, "Save changes to [%s] before closing?"},
    {9894, "Unable to find the file [%s]."},
    {9895, "The file [%s] already exists.\nDo you want to overwrite it?"},
    {9896, "The folder [%s] does not exist. Please enter again."},
    {9897, "This value must be between %s and %s."},
    {9898, "File format is not supported. Unable to access the file."},
    {9899, "This file may be read-only."},
    {9900, "Insufficient disk space. Do you want to continue?"},
    {9989, "The file [%s] is empty.\nUnable to open."},
    {9990, "The filename you have entered is too long.\nPlease try something shorter."},
    {9991, "Unable to write a read-only file [%s]."},
    {9992, "Unable to rename [%s] to [%s]."},
    {9993, "Unable to open the file [%s] that is accessed by the other programs."},
    {9994, "The file [%s] is invalid or corrupted."},
    {9995, "Unable to save the file [%s]."},
    {9996, "Unable to read the file [%s]."},
    {9997, "Unable to open the file [%s]."},
    {9998, "Error starting program. Please close the program and try again."},
    {9999, "Insufficient memory. Please close other programs\nto free up system resources."},
    {57345, "Ready"},
};

constexpr bool fnIsLower(const Entry& a, const Entry& b) {
    return a.m_nId < b.m_nId;
}
static_assert(std::is_sorted(std::begin(kTable), std::end(kTable), fnIsLower));

} // namespace

const char* fnFindString(UINT id) {
    const auto* entry =
        std::lower_bound(std::begin(kTable), std::end(kTable), Entry{id, nullptr}, fnIsLower);
    return entry != std::end(kTable) && entry->m_nId == id ? entry->m_szText : nullptr;
}

int fnLoadString(UINT id, char* buffer, int size) {
    if (size < 1)
        return -1;
    const char* text = fnFindString(id);
    const std::size_t length =
        text ? std::min(std::strlen(text), static_cast<std::size_t>(size) - 1) : 0;
    std::copy_n(text, length, buffer);
    buffer[length] = 0;
    return static_cast<int>(length);
}

} // namespace q32

bool CString::LoadString(unsigned int id) {
    if (const char* own = q32::fnFindString(id)) {
        *this = own;
        return true;
    }
    return q32::fnGuardMemory([&] {
        std::string text;
        const bool found =
            q32::fnHasPlatform() && q32::fnPlatform().m_pResources->fnLoadString(nullptr, id, text);
        *this = found ? text.c_str() : "";
        return found;
    });
}
