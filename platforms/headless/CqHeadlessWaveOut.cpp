#include "platforms/headless/CqHeadlessWaveOut.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace {

// Flags of WAVEHDR::dwFlags.
constexpr DWORD kDone = 1;
constexpr DWORD kPrepared = 2;
constexpr DWORD kLoop = 4 | 8;
constexpr DWORD kInQueue = 0x10;
constexpr DWORD kForEver = 0xFFFFFFFFu;

} // namespace

struct CqHeadlessWaveOut::Device {
    /// A pending report.
    struct Job {
        std::shared_ptr<Device> m_pDevice;
        WAVEHDR* m_pHeader;
    };

    WAVEFORMATEX m_Format;
    Done m_Done;
    std::set<const WAVEHDR*> m_Prepared;
    WAVEHDR* m_pPlaying = nullptr;
    std::list<Job> m_Job;          ///< for the playing block, allocated beforehand
    std::uint64_t m_nPosition = 0; ///< bytes into the current pass
    DWORD m_nPassesLeft = 0;       ///< kForEver is not counted down
    bool m_bPaused = false;
    bool m_bClosed = false;
    bool m_bReporting = false;
};

/// State shared by devices and the reporting thread. The lock is never held during a report.
struct CqHeadlessWaveOut::State {
    using Job = Device::Job;

    std::mutex m_Lock;
    std::condition_variable m_Changed;
    std::vector<std::shared_ptr<Device>> m_Devices;
    std::list<Job> m_Jobs;
    std::uint64_t m_nPosted = 0;
    std::uint64_t m_nFinished = 0; ///< jobs completed or dropped
    std::uint64_t m_nReports = 0;
    std::vector<CqHeadlessPlay> m_Plays;
    bool m_bEndInWrite = false;
    bool m_bReportInReset = false;
    bool m_bStop = false;
    std::thread m_Thread;

    static void fnRun(const std::shared_ptr<State>& state);

    /// Starts the reporting thread if not running; false if the system can't create one. The lock
    /// is held.
    bool fnStartThread(const std::shared_ptr<State>& self) {
        try {
            if (!m_Thread.joinable() && !m_bStop)
                m_Thread = std::thread(fnRun, self);
            return true;
        } catch (const std::system_error&) {
            return false;
        }
    }

    /// Ends the block of a device and queues its report. The lock is held. Nothing can fail here: a
    /// lost end would hang its waiter.
    void fnEnd(const std::shared_ptr<Device>& device) {
        WAVEHDR* header = std::exchange(device->m_pPlaying, nullptr);
        header->dwFlags = (header->dwFlags & ~kInQueue) | kDone;
        device->m_nPosition = 0;
        m_Jobs.splice(m_Jobs.end(), device->m_Job);
        ++m_nPosted;
        m_Changed.notify_all();
    }

    bool fnIsReporter() const { return m_Thread.get_id() == std::this_thread::get_id(); }

    void fnAwait(std::unique_lock<std::mutex>& lock) {
        if (fnIsReporter())
            return;
        const std::uint64_t goal = m_nPosted;
        m_Changed.wait(lock, [&] { return m_nFinished >= goal || m_bStop; });
    }

    template <typename Test>
    std::size_t fnCount(Test test) {
        const std::lock_guard lock(m_Lock);
        return static_cast<std::size_t>(std::count_if(m_Devices.begin(), m_Devices.end(), test));
    }
};

void CqHeadlessWaveOut::State::fnRun(const std::shared_ptr<State>& state) {
    const std::shared_ptr<State> self = state;
    std::unique_lock lock(self->m_Lock);
    for (;;) {
        self->m_Changed.wait(lock, [&] { return self->m_bStop || !self->m_Jobs.empty(); });
        if (self->m_bStop)
            return;
        const Job job = std::move(self->m_Jobs.front());
        self->m_Jobs.pop_front();
        if (!job.m_pDevice->m_bClosed) {
            job.m_pDevice->m_bReporting = true;
            ++self->m_nReports;
            lock.unlock();
            job.m_pDevice->m_Done(*job.m_pHeader);
            lock.lock();
            job.m_pDevice->m_bReporting = false;
        }
        ++self->m_nFinished;
        self->m_Changed.notify_all();
    }
}

/// The caller's handle of a device. A report may destroy it while another thread is inside a call
/// to it, so calls continue with copies of the pointers.
class CqHeadlessWaveOut::Out final : public CqWaveOut {
public:
    Out(std::shared_ptr<State> state, std::shared_ptr<Device> device, std::shared_ptr<Calls> calls)
        : m_pState(std::move(state)), m_pDevice(std::move(device)), m_pCalls(std::move(calls)) {}

    ~Out() override {
        const std::shared_ptr<State> state = m_pState;
        std::unique_lock lock(state->m_Lock);
        m_pDevice->m_bClosed = true;
        m_pDevice->m_pPlaying = nullptr;
        m_pDevice->m_Job.clear();
        std::erase(state->m_Devices, m_pDevice);
        if (!state->fnIsReporter())
            state->m_Changed.wait(lock, [&] { return !m_pDevice->m_bReporting; });
    }

    bool fnPrepare(WAVEHDR& header) override {
        if (!m_pCalls->m_Prepare.fnPass() || !header.lpData)
            return false;
        const std::lock_guard lock(m_pState->m_Lock);
        m_pDevice->m_Prepared.insert(&header);
        header.dwFlags |= kPrepared;
        return true;
    }

    bool fnWrite(WAVEHDR& header) override {
        const auto state = m_pState;
        const auto device = m_pDevice;
        const bool pass = m_pCalls->m_Write.fnPass();
        std::unique_lock lock(state->m_Lock);
        if (!pass || device->m_pPlaying || !device->m_Prepared.contains(&header))
            return false;
        device->m_Job = {{device, &header}};
        if (!state->fnStartThread(state)) {
            device->m_Job.clear();
            return false;
        }
        state->m_Plays.push_back({device->m_Format, header.lpData, header.dwBufferLength,
                                  header.dwFlags & ~kPrepared, header.dwLoops});
        header.dwFlags = (header.dwFlags & ~kDone) | kInQueue;
        device->m_pPlaying = &header;
        device->m_nPosition = 0;
        device->m_nPassesLeft = (header.dwFlags & kLoop) == kLoop ? header.dwLoops : 1;
        const bool endless = device->m_nPassesLeft == kForEver && header.dwBufferLength != 0;
        if ((state->m_bEndInWrite && !endless) || header.dwBufferLength == 0)
            state->fnEnd(device);
        if (state->m_bEndInWrite && !endless)
            state->fnAwait(lock);
        return true;
    }

    bool fnUnprepare(WAVEHDR& header) override {
        if (!m_pCalls->m_Unprepare.fnPass())
            return false;
        const std::lock_guard lock(m_pState->m_Lock);
        if (m_pDevice->m_pPlaying == &header || m_pDevice->m_Prepared.erase(&header) == 0)
            return false;
        header.dwFlags &= ~kPrepared;
        return true;
    }

    bool fnPause() override { return m_pCalls->m_Pause.fnPass() && fnSetPaused(true); }
    bool fnRestart() override { return m_pCalls->m_Restart.fnPass() && fnSetPaused(false); }

    bool fnReset() override {
        const auto state = m_pState;
        const auto device = m_pDevice;
        if (!m_pCalls->m_Reset.fnPass())
            return false;
        std::unique_lock lock(state->m_Lock);
        device->m_bPaused = false;
        if (device->m_pPlaying)
            state->fnEnd(device);
        if (state->m_bReportInReset)
            state->fnAwait(lock);
        return true;
    }

private:
    bool fnSetPaused(bool paused) {
        const auto state = m_pState;
        const auto device = m_pDevice;
        const std::lock_guard lock(state->m_Lock);
        device->m_bPaused = paused;
        return true;
    }

    std::shared_ptr<State> m_pState;
    std::shared_ptr<Device> m_pDevice;
    std::shared_ptr<Calls> m_pCalls;
};

CqHeadlessWaveOut::CqHeadlessWaveOut() : m_pState(std::make_shared<State>()) {}

CqHeadlessWaveOut::~CqHeadlessWaveOut() {
    std::unique_lock lock(m_pState->m_Lock);
    m_pState->m_bStop = true;
    m_pState->m_Changed.notify_all();
    const bool within = m_pState->fnIsReporter();
    lock.unlock();
    // The last owner may be a report; the thread then ends by itself and frees the rest.
    if (within)
        m_pState->m_Thread.detach();
    else if (m_pState->m_Thread.joinable())
        m_pState->m_Thread.join();
}

void CqHeadlessWaveOut::fnEndInWrite(bool end) {
    const std::lock_guard lock(m_pState->m_Lock);
    m_pState->m_bEndInWrite = end;
}

void CqHeadlessWaveOut::fnReportInReset(bool report) {
    const std::lock_guard lock(m_pState->m_Lock);
    m_pState->m_bReportInReset = report;
}

void CqHeadlessWaveOut::fnAdvance(std::uint64_t bytes) {
    const std::lock_guard lock(m_pState->m_Lock);
    for (const std::shared_ptr<Device>& device : m_pState->m_Devices) {
        if (!device->m_pPlaying || device->m_bPaused)
            continue;
        const std::uint64_t length = device->m_pPlaying->dwBufferLength;
        const std::uint64_t passes =
            bytes / length + (device->m_nPosition + bytes % length) / length;
        if (device->m_nPassesLeft != kForEver && passes >= device->m_nPassesLeft) {
            m_pState->fnEnd(device);
            continue;
        }
        if (device->m_nPassesLeft != kForEver)
            device->m_nPassesLeft -= static_cast<DWORD>(passes);
        device->m_nPosition = (device->m_nPosition + bytes % length) % length;
    }
}

void CqHeadlessWaveOut::fnWaitForReports() {
    std::unique_lock lock(m_pState->m_Lock);
    m_pState->fnAwait(lock);
}

std::vector<CqHeadlessPlay> CqHeadlessWaveOut::fnGetPlays() const {
    const std::lock_guard lock(m_pState->m_Lock);
    return m_pState->m_Plays;
}

std::size_t CqHeadlessWaveOut::fnGetOpen() const {
    return m_pState->fnCount([](const auto&) { return true; });
}

std::size_t CqHeadlessWaveOut::fnGetPlaying() const {
    return m_pState->fnCount([](const auto& device) { return device->m_pPlaying != nullptr; });
}

std::size_t CqHeadlessWaveOut::fnGetPaused() const {
    return m_pState->fnCount([](const auto& device) { return device->m_bPaused; });
}

std::uint64_t CqHeadlessWaveOut::fnGetPosition() const {
    const std::lock_guard lock(m_pState->m_Lock);
    for (const std::shared_ptr<Device>& device : m_pState->m_Devices)
        if (device->m_pPlaying)
            return device->m_nPosition;
    return 0;
}

std::uint64_t CqHeadlessWaveOut::fnGetReports() const {
    const std::lock_guard lock(m_pState->m_Lock);
    return m_pState->m_nReports;
}

bool CqHeadlessWaveOut::fnCanPlay(const WAVEFORMATEX& format) {
    return m_pCalls->m_CanPlay.fnPass() && format.wFormatTag == 1 &&
           (format.nChannels == 1 || format.nChannels == 2) &&
           (format.wBitsPerSample == 8 || format.wBitsPerSample == 16) &&
           format.nSamplesPerSec != 0 &&
           format.nBlockAlign == format.nChannels * format.wBitsPerSample / 8;
}

std::unique_ptr<CqWaveOut> CqHeadlessWaveOut::fnOpen(const WAVEFORMATEX& format, Done done) {
    if (!m_pCalls->m_Open.fnPass())
        return nullptr;
    auto device = std::make_shared<Device>();
    device->m_Format = format;
    device->m_Done = std::move(done);
    const std::lock_guard lock(m_pState->m_Lock);
    // Reserved first: nothing may fail between registering the device and returning its owner.
    m_pState->m_Devices.reserve(m_pState->m_Devices.size() + 1);
    auto out = std::make_unique<Out>(m_pState, device, m_pCalls);
    m_pState->m_Devices.push_back(std::move(device));
    return out;
}
