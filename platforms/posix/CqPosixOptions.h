#pragma once

#include "q32Base/platform/CqPlatform.h"

#include <chrono>
#include <string>

/// What a host may set otherwise. Directories may be given in the system's form or the library's.
struct CqPosixOptions {
    /// Directory of temporary files. Empty: `$TMPDIR`, else /var/tmp (/tmp is memory on many
    /// systems).
    std::string m_szTempDirectory;
    /// Directory of the settings. Empty: `$XDG_CONFIG_HOME/q32Base`, else `~/.config/q32Base`. It
    /// is made, for its owner alone, when settings are first written.
    std::string m_szConfigDirectory;
    /// How long a change of the settings waits for another process that is changing them; then it
    /// fails, so that a process that was stopped can't hang the host.
    std::chrono::milliseconds m_SettingsPatience{10000};
    /// A locale's name. Empty: the user's, as the environment tells it.
    std::string m_szLocale;
    /// Whether the last system error and its text are the system's own (errno), which suits a host
    /// with real files; otherwise they are those of the other message service.
    bool m_bSystemErrors = true;
    /// Services for all that this back end doesn't bring: screen, messages, keyboard, resources,
    /// sound, mixers and windows. One that is null is that of `q32SoftwareServices`; the other four
    /// aren't looked at.
    CqPlatform m_Others;
};
