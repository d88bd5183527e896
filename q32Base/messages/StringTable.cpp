#include "q32Base/framework/CString.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/MessageIds.h"
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
    {STRING_DUMP_SAVE_PROMPT, "Save the content of this window"},
    {STRING_DUMP_ON_TOP_PROMPT, "Places the window above all other windows"},
    {STRING_UNIT_BYTES, " Bytes"},
    {STRING_UNIT_KB, " KB"},
    {STRING_UNIT_MB, " MB"},
    {STRING_UNIT_GB, " GB"},
    {STRING_ESC_TO_ABORT, "Press Esc to abort..."},
    {STRING_TEMP_PREFIX, "~qd"},
    {STRING_TEMP_MASK, "~qd*.tmp"},
    {STRING_TEXT_FILE_FILTER, "Plain Text File (txt)"},
    {STRING_KEY_SCRATCH_FLAG, "ScratchFlag1"},
    {STRING_KEY_SCRATCH_FLAG + 1, "ScratchFlag2"},
    {STRING_KEY_SCRATCH_FLAG + 2, "ScratchFlag3"},
    {STRING_KEY_SCRATCH_FLAG + 3, "ScratchFlag4"},
    {STRING_KEY_SCRATCH_PATH, "ScratchPath1"},
    {STRING_KEY_SCRATCH_PATH + 1, "ScratchPath2"},
    {STRING_KEY_SCRATCH_PATH + 2, "ScratchPath3"},
    {STRING_KEY_SCRATCH_PATH + 3, "ScratchPath4"},
    {STRING_KEY_MEM_PERCENT, "MemPercent"},
    {STRING_KEY_MEM_ENABLED, "MemEnabled"},
    {STRING_KEY_DITHER_HC, "DitherHC"},
    {STRING_KEY_GAMMA_FLAG, "GammaFlag"},
    {STRING_KEY_GAMMA_VAL, "GammaVal"},
    {STRING_SECTION_VM_POLICY, "VMPolicy"},
    {STRING_SECTION_DISP_PROP, "DispProp"},
    {STRING_SECTION_DUMP_WND, "DumpWnd"},
    {STRING_KEY_LAYOUT, "Layout"},
    {STRING_KEY_PREF_DIR, "PrefDir"},
    {STRING_KEY_ON_TOP, "OnTop"},
    {STRING_SETTINGS_FILE, "Qkz.cfg"},
    {STRING_DUMP_MENU_SAVE, "Sa&ve..."},
    {STRING_DUMP_MENU_ON_TOP, "Al&ways On Top"},
    {fnMessageEntry(MESSAGE_SAVE_CHANGES), "Save changes to [%s] before closing?"},
    {fnMessageEntry(MESSAGE_NOT_FOUND), "Unable to find the file [%s]."},
    {fnMessageEntry(MESSAGE_EXISTS), "The file [%s] already exists.\nDo you want to overwrite it?"},
    {fnMessageEntry(MESSAGE_NO_FOLDER), "The folder [%s] does not exist. Please enter again."},
    {fnMessageEntry(MESSAGE_OUT_OF_RANGE), "This value must be between %s and %s."},
    {fnMessageEntry(MESSAGE_UNSUPPORTED),
     "File format is not supported. Unable to access the file."},
    {fnMessageEntry(MESSAGE_MAYBE_READ_ONLY), "This file may be read-only."},
    {fnMessageEntry(MESSAGE_LOW_DISK_SPACE), "Insufficient disk space. Do you want to continue?"},
    {fnMessageEntry(MESSAGE_EMPTY), "The file [%s] is empty.\nUnable to open."},
    {fnMessageEntry(MESSAGE_NAME_TOO_LONG),
     "The filename you have entered is too long.\nPlease try something shorter."},
    {fnMessageEntry(MESSAGE_READ_ONLY), "Unable to write a read-only file [%s]."},
    {fnMessageEntry(MESSAGE_CANNOT_RENAME), "Unable to rename [%s] to [%s]."},
    {fnMessageEntry(MESSAGE_IN_USE),
     "Unable to open the file [%s] that is accessed by the other programs."},
    {fnMessageEntry(MESSAGE_CORRUPTED), "The file [%s] is invalid or corrupted."},
    {fnMessageEntry(MESSAGE_CANNOT_SAVE), "Unable to save the file [%s]."},
    {fnMessageEntry(MESSAGE_CANNOT_READ), "Unable to read the file [%s]."},
    {fnMessageEntry(MESSAGE_CANNOT_OPEN), "Unable to open the file [%s]."},
    {fnMessageEntry(MESSAGE_START_FAILED),
     "Error starting program. Please close the program and try again."},
    {fnMessageEntry(MESSAGE_NO_MEMORY),
     "Insufficient memory. Please close other programs\nto free up system resources."},
    {STRING_IDLE_PROMPT, "Ready"},
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
