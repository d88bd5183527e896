#pragma once

#include <functional>
#include <QString>

namespace darkroom {

/// Of the language in the settings, as for fnSetLanguage.
inline constexpr char kLanguageKey[] = "language";

/// What the program gives its windows besides the library's platform.
struct HostSetup {
    QString m_strSettings; ///< file of the host's own settings: recent files, window, undo levels
    /// Readable while mixer changes wait for `m_PumpMixers` to report them; -1 for none.
    int m_nMixerDescriptor = -1;
    std::function<void()> m_PumpMixers;
};

} // namespace darkroom
