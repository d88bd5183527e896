/// @file
/// The library's own texts by number: messages, setting keys, units, prompts and menu items.
#pragma once

#include "q32Base/platform/Records.h"

namespace q32 {

/// Ids of the entries, except those of messages.
enum STRING_ID : UINT {
    STRING_DUMP_SAVE_PROMPT = 16,
    STRING_DUMP_ON_TOP_PROMPT = 32,
    STRING_UNIT_BYTES = 100,
    STRING_UNIT_KB = 101,
    STRING_UNIT_MB = 102,
    STRING_UNIT_GB = 103,
    STRING_ESC_TO_ABORT = 104,
    STRING_TEMP_PREFIX = 105,
    STRING_TEMP_MASK = 106,
    STRING_TEXT_FILE_FILTER = 107,
    STRING_KEY_SCRATCH_FLAG = 200, ///< of disk 0; those of disks 1 to 3 follow
    STRING_KEY_SCRATCH_PATH = 204, ///< of disk 0; those of disks 1 to 3 follow
    STRING_KEY_MEM_PERCENT = 208,
    STRING_KEY_MEM_ENABLED = 209,
    STRING_KEY_DITHER_HC = 210,
    STRING_KEY_GAMMA_FLAG = 211,
    STRING_KEY_GAMMA_VAL = 212,
    STRING_SECTION_VM_POLICY = 213,
    STRING_SECTION_DISP_PROP = 214,
    STRING_SECTION_DUMP_WND = 215,
    STRING_KEY_LAYOUT = 216,
    STRING_KEY_PREF_DIR = 217,
    STRING_KEY_ON_TOP = 218,
    STRING_SETTINGS_FILE = 219,
    STRING_DUMP_MENU_SAVE = 300,
    STRING_DUMP_MENU_ON_TOP = 301,
    STRING_IDLE_PROMPT = 57345
};

/// The entry of the message with a negative id.
constexpr UINT fnMessageEntry(int id) {
    return static_cast<UINT>(10000 + id);
}

/// The text of an entry, valid for the life of the program; null if there is none.
const char* fnFindString(UINT id);

/// Copies an entry into a buffer of `size` bytes, truncated to fit with its NUL.
/// @return the bytes copied, without the NUL; 0, with the buffer emptied, for a missing entry; -1,
///         with the buffer untouched, for a size below 1
int fnLoadString(UINT id, char* buffer, int size);

} // namespace q32
