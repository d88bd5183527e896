#pragma once

#include <chrono>
#include <string>

/// How a host appears to the sound server, and which server that is.
struct CqPulseOptions {
    /// The server's address, as in "unix:/run/user/1000/pulse/native". Empty: the user's own, as
    /// the environment and the client's settings tell it. A server is never started.
    std::string m_szServer{};
    /// What the desktop's volume control calls this program. Empty: the program's file name.
    std::string m_szApplication{};
    /// Name of the program's icon in the desktop's theme. Empty: none.
    std::string m_szIcon{};
    /// What the desktop's volume control calls a sound that plays.
    std::string m_szStream = "Sound";
    /// What sounds are for, by which the desktop groups and mutes them: "music", "event", "game",
    /// "video", "production", …
    std::string m_szRole = "music";
    /// How much sound lies ready at the server.
    std::chrono::milliseconds m_Latency{100};
    /// How long a call waits for the server's answer; then it fails, so that a server that was
    /// stopped can't hang the host.
    std::chrono::milliseconds m_Patience{5000};
    /// How long after the server's end the mixers look for a new one, again and again.
    std::chrono::milliseconds m_Retry{1000};
};
