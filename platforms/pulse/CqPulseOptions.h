#pragma once

#include <chrono>
#include <string>

/// How a host appears to the sound server, and which server that is.
struct CqPulseOptions {
    /// The server's address, for example "unix:/run/user/1000/pulse/native". Empty: the user's own,
    /// according to the environment and the client settings. A server is never started.
    std::string m_szServer{};
    /// The program's name in the desktop's volume control. Empty: the program's file name.
    std::string m_szApplication{};
    /// Name of the program's icon in the desktop's theme. Empty: none.
    std::string m_szIcon{};
    /// The name of a playing sound in the desktop's volume control.
    std::string m_szStream = "Sound";
    /// The role by which the desktop groups and mutes sounds: "music", "event", "game", "video",
    /// "production", …
    std::string m_szRole = "music";
    /// How much sound is buffered at the server.
    std::chrono::milliseconds m_Latency{100};
    /// How long a call waits for the server's answer; then it fails, so that a stopped server can't
    /// hang the host.
    std::chrono::milliseconds m_Patience{5000};
    /// Interval at which the mixers look for a new server after the old one has gone.
    std::chrono::milliseconds m_Retry{1000};
};
