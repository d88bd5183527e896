#pragma once

#include "q32Base/platform/Records.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// Options of the Windows back end. Paths are in its code page.
struct CqWin32Options {
    /// Code page of all texts and paths. CP_ACP: the process's own, which is UTF-8 if the program's
    /// manifest says so (`activeCodePage`). One that the system lacks, or other than UTF-8 with
    /// characters of more than two bytes, such as 54936, gives the process's own, too.
    UINT m_nCodePage = CP_ACP;
    /// How many threads work on one operation, the caller's included. 0: one for each core that
    /// this process may use; 1: the caller's alone.
    std::uint32_t m_nConcurrency = 0;
    /// Directory of temporary files. Empty: the system's, from `%TMP%`, `%TEMP%` or the profile.
    std::string m_szTempDirectory;
    /// Directory of the settings. Empty: `q32Base` in the user's application data. It is created
    /// when settings are first written.
    std::string m_szConfigDirectory;
    /// The host's modules, in the order in which resources are searched. Empty: the program's own.
    std::vector<HINSTANCE> m_Modules;
    /// How long a change of the settings waits for another process that is changing or reading
    /// them, and a read for one that is replacing them; then it fails, so that a stopped process
    /// can't hang the host.
    std::chrono::milliseconds m_SettingsPatience{10000};
};
