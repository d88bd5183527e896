#include "tests/support/SoundServer.h"

#include "tests/support/Await.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

void fnWriteFile(const fs::path& path, std::string_view text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

/// A null sink at the rate of the tests, so that nothing is resampled.
constexpr std::string_view kPipeWire = R"(
context.properties = { default.clock.rate = 44100, support.dbus = false }
context.objects = [ { factory = adapter, args = {
    factory.name = support.null-audio-sink, node.name = lab, media.class = Audio/Sink
    object.linger = true, audio.position = [ FL FR ], audio.rate = 44100
    monitor.channel-volumes = true, monitor.passthrough = true } } ]
)";
/// Without these the session manager looks for a session bus, and exits.
constexpr std::string_view kWirePlumber = R"(
alsa_monitor.enabled = false
alsa_monitor.properties["alsa.reserve"] = false
default_access.properties["enable-flatpak-portal"] = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
stream_defaults.properties["restore-props"] = false
)";
constexpr std::string_view kWirePlumberBluetooth = "bluez_monitor.enabled = false\n";

} // namespace

bool SoundServer::fnIsPipeWire() {
    const char* expected = std::getenv("Q32_TEST_SOUND");
    return expected && std::string_view(expected) == "pipewire";
}

SoundServer::SoundServer() {
    char folder[] = "/tmp/q32soundXXXXXX";
    if (!::mkdtemp(folder))
        throw std::runtime_error("no folder for the sound server");
    m_szFolder = folder;
    const bool pipewire = fnIsPipeWire();
    m_szAddress = "unix:" + m_szFolder + (pipewire ? "/pulse/native" : "/native");
    const char* path = std::getenv("PATH");
    m_Environment = {"PATH=" + std::string(path ? path : "/usr/bin:/bin"),
                     "LC_ALL=C",
                     "HOME=" + m_szFolder,
                     "XDG_RUNTIME_DIR=" + m_szFolder,
                     "XDG_CONFIG_HOME=" + m_szFolder + "/config",
                     "XDG_STATE_HOME=" + m_szFolder + "/state"};
    if (!pipewire)
        for (const char* setting : {"PULSE_RUNTIME_PATH=", "PULSE_STATE_PATH="})
            m_Environment.push_back(setting + m_szFolder + "/pulse");
    // The test's own client must not touch the user's files.
    ::setenv("PULSE_CLIENTCONFIG", "/dev/null", 1);
    ::setenv("PULSE_COOKIE", (m_szFolder + "/cookie").c_str(), 1);
    fnStart();
}

SoundServer::~SoundServer() {
    m_Processes.clear();
    std::error_code ignored;
    fs::remove_all(m_szFolder, ignored);
}

void SoundServer::fnStart() {
    if (fnIsPipeWire())
        fnStartPipeWire();
    else
        fnStartPulseAudio();
    if (!fnAwait([&] { return fnIsReady(); }))
        throw std::runtime_error("the sound server doesn't come up");
    fnRestore();
}

void SoundServer::fnStartPulseAudio() {
    const std::string socket = "socket=" + m_szFolder + "/native";
    m_Processes.push_back(ChildProcess(
        {"pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
         "--disallow-exit", "--realtime=no", "--high-priority=no", "--disable-shm=yes",
         "--log-target=file:" + m_szFolder + "/log", "-L",
         "module-native-protocol-unix auth-anonymous=1 " + socket,
         // With rewinds the sink plays two seconds ahead, and its monitor loses what is rewound.
         "-L", "module-null-sink sink_name=lab norewinds=1 format=s16le rate=44100 channels=2"},
        m_Environment));
}

void SoundServer::fnStartPipeWire() {
    const fs::path config = m_szFolder + "/config";
    fnWriteFile(config / "pipewire/pipewire.conf.d/lab.conf", kPipeWire);
    fnWriteFile(config / "wireplumber/main.lua.d/51-lab.lua", kWirePlumber);
    fnWriteFile(config / "wireplumber/bluetooth.lua.d/51-lab.lua", kWirePlumberBluetooth);
    for (const char* program : {"pipewire", "wireplumber", "pipewire-pulse"}) {
        m_Processes.push_back(ChildProcess({program}, m_Environment));
        const std::string socket = m_szFolder + "/pipewire-0";
        if (!fnAwait([&] { return fs::exists(socket); }))
            throw std::runtime_error("PipeWire doesn't come up");
    }
}

bool SoundServer::fnIsReady() {
    for (ChildProcess& process : m_Processes)
        if (!process.fnIsRunning())
            throw std::runtime_error("the sound server has ended");
    try {
        return fnControl({"list", "short", "sinks"}).find("\tlab\t") != std::string::npos &&
               fnControl({"get-default-sink"}).find("lab") == 0;
    } catch (const std::runtime_error&) {
        return false;
    }
}

std::string SoundServer::fnControl(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"pactl", "--server=" + m_szAddress};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ChildProcess tool(command, m_Environment, ChildProcess::Output::PIPE);
    std::string output;
    char piece[4096];
    for (ssize_t count; (count = ::read(tool.fnGetOutput(), piece, sizeof piece)) > 0;)
        output.append(piece, static_cast<std::size_t>(count));
    if (tool.fnWait() != 0)
        throw std::runtime_error("pactl " + arguments.front() + " fails");
    return output;
}

void SoundServer::fnRestore() {
    fnControl({"set-default-sink", "lab"});
    fnControl({"set-sink-volume", "lab", "65536"});
    fnControl({"set-sink-mute", "lab", "0"});
}

void SoundServer::fnKill() {
    m_Processes.clear();
    std::error_code ignored;
    for (const char* socket : {"/native", "/pulse/native", "/pipewire-0", "/pipewire-0.lock"})
        fs::remove(m_szFolder + socket, ignored);
}

void SoundServer::fnFreeze() {
    for (ChildProcess& process : m_Processes)
        process.fnSignal(SIGSTOP);
}

void SoundServer::fnThaw() {
    for (ChildProcess& process : m_Processes)
        process.fnSignal(SIGCONT);
}

struct SoundRecorder::State {
    ~State() {
        m_Tool.fnSignal(SIGKILL);
        if (m_Thread.joinable())
            m_Thread.join();
    }

    ChildProcess m_Tool;
    mutable std::mutex m_Lock;
    std::string m_Bytes;
    std::thread m_Thread;
};

SoundRecorder::SoundRecorder(SoundServer& server, const std::string& sink,
                             const std::vector<std::string>& format)
    : m_pState(new State) {
    std::vector<std::string> command = {"parec", "--server=" + server.fnGetAddress(),
                                        "--device=" + sink + ".monitor", "--raw",
                                        "--latency-msec=10"};
    command.insert(command.end(), format.begin(), format.end());
    m_pState->m_Tool = ChildProcess(command, server.fnGetEnvironment(), ChildProcess::Output::PIPE);
    m_pState->m_Thread = std::thread([state = m_pState.get()] {
        char piece[16384];
        for (ssize_t count;
             (count = ::read(state->m_Tool.fnGetOutput(), piece, sizeof piece)) > 0;) {
            const std::lock_guard lock(state->m_Lock);
            state->m_Bytes.append(piece, static_cast<std::size_t>(count));
        }
    });
    fnWaitForMore(1); // nothing is missed from here on
}

SoundRecorder::~SoundRecorder() = default;

std::size_t SoundRecorder::fnGetSize() const {
    const std::lock_guard lock(m_pState->m_Lock);
    return m_pState->m_Bytes.size();
}

void SoundRecorder::fnWaitForMore(std::size_t bytes) const {
    const std::size_t goal = fnGetSize() + bytes;
    if (!fnAwait([&] { return fnGetSize() >= goal; }))
        throw std::runtime_error("nothing is recorded");
}

std::string SoundRecorder::fnGetBytes() const {
    const std::lock_guard lock(m_pState->m_Lock);
    return m_pState->m_Bytes;
}

#ifdef __SANITIZE_THREAD__
// libpulse passes blocks between the threads of two connections through atomic lists, which the
// sanitizer can't see, since libpulse isn't instrumented. None of our code runs below these
// functions.
extern "C" const char* __tsan_default_suppressions(); // NOLINT: the sanitizer's name
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "race:pa_iochannel_\nrace:pa_packet_\nrace:pa_tagstruct_\n";
}
#endif
