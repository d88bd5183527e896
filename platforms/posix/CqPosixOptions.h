#pragma once

#include "q32Base/platform/CqPlatform.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

/// Options of the POSIX back end. Directories may have the system's form or the library's.
struct CqPosixOptions {
    /// Directory of temporary files. Empty: `$TMPDIR`, else /var/tmp, else /tmp (which is memory on
    /// many systems): the first that can be used.
    std::string m_szTempDirectory;
    /// Receives a sentence in English, once in a process, when `$TMPDIR` can't be used, while the
    /// platform is made. Null: it goes to the standard error stream.
    std::function<void(const std::string& text)> m_Report;
    /// Whether the host survives the loss of pages of a scratch file, as when another process cuts
    /// the file or the disk fails. The pages become zeros, the operation raises the memory
    /// exception, and `CqImage::fnCountLosses` counts. Without it, the system ends the process by
    /// the signal SIGBUS.
    ///
    /// The first platform with this option installs a handler of that signal, for good. It passes
    /// other faults on to the handler that was there before; a host that installs its own later
    /// does the same, or loses this one.
    bool m_bGuardViews = false;
    /// Called after memory was held back, possibly for each block that is freed, on the thread that
    /// freed it; it must not call the library, nor throw anything but std::bad_alloc. A host with
    /// an event loop of its own then arranges to call the memory service's `fnReleaseHeld` with
    /// `kHeldMemoryAge`, after that time, and again as long as the result isn't 0. Null: memory
    /// held back is only released when another block is allocated or freed, or by the host
    /// (`CqVMPolicy::fnReleaseHeld`). The desktop back end does this itself.
    std::function<void()> m_MemoryHeld;
    /// How many threads work on one operation, the caller's included. 0: one for each core that
    /// this process may use; 1: the caller's alone. Operations also use the caller's alone where
    /// the library was built without oneTBB.
    std::uint32_t m_nConcurrency = 0;
    /// Directory of the settings. Empty: `$XDG_CONFIG_HOME/q32Base`, else `~/.config/q32Base`. It
    /// is created with mode 0700 when settings are first written.
    std::string m_szConfigDirectory;
    /// How long a change of the settings waits for another process that is changing them; then it
    /// fails, so that a stopped process can't hang the host.
    std::chrono::milliseconds m_SettingsPatience{10000};
    /// A locale's name. Empty: the user's, from the environment.
    std::string m_szLocale;
    /// Whether the last system error and its text are the system's own (errno), which suits a host
    /// with real files; otherwise they come from the other message service.
    bool m_bSystemErrors = true;
    /// The services that this back end doesn't provide: screen, messages, keyboard, resources,
    /// sound, mixers and windows. A null one is replaced by that of `q32SoftwareServices`, but
    /// without a message service boxes become lines of the standard error stream, and are answered
    /// by their first button; the software one shows nothing. A null work service is one of as many
    /// threads as `m_nConcurrency` says. The other four aren't used.
    CqPlatform m_Others;
};
