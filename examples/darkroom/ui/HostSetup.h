#pragma once

#include <functional>
#include <QString>

namespace darkroom {

/// What the program hands its windows besides the library's platform.
struct HostSetup {
    QString m_strSettings; ///< file of the host's own settings: recent files, window, undo levels
    /// Readable while changes of the mixers wait to be told by `m_PumpMixers`; -1 for none.
    int m_nMixerDescriptor = -1;
    std::function<void()> m_PumpMixers;
};

} // namespace darkroom
