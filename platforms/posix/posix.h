/// @file
/// The back end for POSIX systems: memory, files and language of the real system.
#pragma once

#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

class CqHeadlessWorld;

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
    /// Whether the last system error and its text are the system's own (errno), which is what a
    /// host with real files wants; otherwise they are the headless world's.
    bool m_bSystemErrors = true;
    /// The world of all the other services, for a host that scripts them. Null: one of its own.
    std::shared_ptr<CqHeadlessWorld> m_pHeadless;
};

/// A complete platform: memory, scratch files, files, language and errors of this system, and all
/// else from the headless world. Throws std::bad_alloc.
Q32_API CqPlatform q32PosixPlatform(const CqPosixOptions& options = {});

/// Deletes the scratch files that a killed process left in a directory: regular files of the
/// caller's own, named "~qd*.tmp", that nobody holds. Files in use, here or elsewhere, stay.
/// @return  how many were deleted; 0 also for a directory that can't be read
Q32_API std::size_t q32PosixSweepScratchFiles(const char* directory);
/// The same for several directories, such as the scratch paths; empty ones are passed over.
Q32_API std::size_t q32PosixSweepScratchFiles(std::span<const std::string> directories);
