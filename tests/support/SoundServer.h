#pragma once

#include "tests/support/ChildProcess.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The test's own sound server: PulseAudio, or PipeWire if Q32_TEST_SOUND is "pipewire" in the
/// environment. It needs no sound card and no session, and has one sink, "lab", of 16 bits, 44,100
/// Hz, stereo, which discards its sound, at full volume.
class SoundServer {
public:
    /// Starts it and waits until it is ready. Throws std::runtime_error.
    SoundServer();
    /// Ends it and removes its folder.
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    static bool fnIsPipeWire();
    const std::string& fnGetAddress() const { return m_szAddress; }
    /// Runs the server's own control program and returns its output. Throws std::runtime_error when
    /// that fails.
    std::string fnControl(const std::vector<std::string>& arguments);
    /// Restores the sink "lab" at full volume, as the only one.
    void fnRestore();

    void fnKill();
    /// Starts it again after fnKill, at the same address.
    void fnStart();
    /// Suspends it until fnThaw.
    void fnFreeze();
    void fnThaw();

    const std::vector<std::string>& fnGetEnvironment() const { return m_Environment; }

private:
    void fnStartPulseAudio();
    void fnStartPipeWire();
    bool fnIsReady();

    std::string m_szFolder;
    std::string m_szAddress;
    std::vector<std::string> m_Environment;
    std::vector<ChildProcess> m_Processes;
};

/// Records what the sink "lab" plays, from construction on.
class SoundRecorder {
public:
    /// @param format  in the recorder program's notation, with the sink's rate and channels
    explicit SoundRecorder(SoundServer& server, const std::string& sink = "lab",
                           const std::vector<std::string>& format = {
                               "--format=s16le", "--rate=44100", "--channels=2"});
    ~SoundRecorder();
    SoundRecorder(const SoundRecorder&) = delete;
    SoundRecorder& operator=(const SoundRecorder&) = delete;

    /// Bytes received so far.
    std::size_t fnGetSize() const;
    /// Waits for `bytes` more than those already received.
    void fnWaitForMore(std::size_t bytes) const;
    std::string fnGetBytes() const;

private:
    struct State;
    const std::unique_ptr<State> m_pState;
};
