#include "platforms/win32/Voice_p.h"

#include <system_error>
#include <utility>

namespace q32::win32 {

namespace {

constexpr DWORD kLoop = WHDR_BEGINLOOP | WHDR_ENDLOOP;

std::mutex theAbandonedLock;

} // namespace

Voice* Voice::theFirstAbandoned = nullptr;

std::shared_ptr<Voice> Voice::fnOpen(const WaveCalls& calls, const WAVEFORMATEX& format,
                                     CqWaveOutService::Done done) {
    fnCloseAbandoned();
    auto voice = std::make_shared<Voice>(calls, std::move(done));
    voice->m_Event = Handle(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!voice->m_Event || calls.m_Open(&voice->m_Device, WAVE_MAPPER, &format,
                                        reinterpret_cast<DWORD_PTR>(voice->m_Event.fnGet()), 0,
                                        CALLBACK_EVENT) != MMSYSERR_NOERROR)
        return nullptr;
    try {
        std::thread([voice] { voice->fnRun(); }).detach();
    } catch (const std::system_error&) {
        voice->fnClose();
        return nullptr;
    } catch (...) { // std::bad_alloc
        voice->fnClose();
        throw;
    }
    return voice;
}

Voice::Voice(const WaveCalls& calls, CqWaveOutService::Done done)
    : m_Calls(calls), m_Done(std::move(done)) {}

Voice::~Voice() = default;

bool Voice::fnHasEnded() const {
    return m_pPlaying && (m_bSilent || (m_Block.dwFlags & WHDR_DONE) != 0);
}

void Voice::fnRun() {
    Lock lock(m_Lock);
    m_Reporter = std::this_thread::get_id();
    while (!m_bClosed) {
        if (!fnHasEnded()) {
            lock.unlock();
            ::WaitForSingleObject(m_Event.fnGet(), INFINITE);
            lock.lock();
            continue;
        }
        WAVEHDR* const header = fnTakeBack();
        m_bReporting = true;
        lock.unlock();
        m_Done(*header);
        lock.lock();
        m_bReporting = false;
        m_Reported.notify_all();
    }
}

void Voice::fnReleaseBlock() {
    if (m_bHeld)
        m_bHeld = m_Calls.m_Unprepare(m_Device, &m_Block, sizeof m_Block) == WAVERR_STILLPLAYING;
}

WAVEHDR* Voice::fnTakeBack() {
    fnReleaseBlock();
    m_pPlaying->dwFlags = (m_pPlaying->dwFlags & ~static_cast<DWORD>(WHDR_INQUEUE)) | WHDR_DONE;
    return std::exchange(m_pPlaying, nullptr);
}

bool Voice::fnPrepare(WAVEHDR& header) {
    const Lock lock(m_Lock);
    if (!header.lpData)
        return false;
    m_Prepared.insert(&header);
    header.dwFlags = (header.dwFlags & kLoop) | WHDR_PREPARED;
    return true;
}

bool Voice::fnUnprepare(WAVEHDR& header) {
    const Lock lock(m_Lock);
    if (m_pPlaying == &header || m_Prepared.erase(&header) == 0)
        return false;
    header.dwFlags &= ~static_cast<DWORD>(WHDR_PREPARED);
    return true;
}

bool Voice::fnStart(WAVEHDR& header) {
    fnReleaseBlock();
    if (m_bHeld)
        return false;
    m_Block = WAVEHDR{};
    m_Block.lpData = header.lpData;
    m_Block.dwBufferLength = header.dwBufferLength;
    const bool isLoop = (header.dwFlags & kLoop) == kLoop;
    m_bSilent = header.dwBufferLength == 0 || (isLoop && header.dwLoops == 0);
    if (m_bSilent) {
        ::SetEvent(m_Event.fnGet());
        return true;
    }
    if (m_Calls.m_Prepare(m_Device, &m_Block, sizeof m_Block) != MMSYSERR_NOERROR)
        return false;
    if (isLoop) {
        m_Block.dwFlags |= kLoop;
        m_Block.dwLoops = header.dwLoops;
    }
    m_bHeld = m_Calls.m_Write(m_Device, &m_Block, sizeof m_Block) == MMSYSERR_NOERROR;
    if (!m_bHeld)
        m_Calls.m_Unprepare(m_Device, &m_Block, sizeof m_Block);
    return m_bHeld;
}

bool Voice::fnWrite(WAVEHDR& header) {
    const Lock lock(m_Lock);
    if (m_bClosed || m_pPlaying || !m_Prepared.contains(&header))
        return false;
    const DWORD before = header.dwFlags;
    // Before the start: the thread may find the end at once.
    m_pPlaying = &header;
    header.dwFlags = (before & ~static_cast<DWORD>(WHDR_DONE)) | WHDR_INQUEUE;
    if (fnStart(header))
        return true;
    header.dwFlags = before;
    m_pPlaying = nullptr;
    return false;
}

bool Voice::fnSetPaused(bool paused) {
    const Lock lock(m_Lock);
    if (m_bClosed)
        return false;
    const MMRESULT result = paused ? m_Calls.m_Pause(m_Device) : m_Calls.m_Restart(m_Device);
    if (result == MMSYSERR_NOERROR)
        m_bPaused = paused;
    return result == MMSYSERR_NOERROR;
}

bool Voice::fnReset() {
    const Lock lock(m_Lock);
    if (m_bClosed)
        return false;
    const bool done = m_Calls.m_Reset(m_Device) == MMSYSERR_NOERROR;
    // Whether a reset ends a pause is the driver's business.
    if (done && std::exchange(m_bPaused, false))
        m_Calls.m_Restart(m_Device);
    ::SetEvent(m_Event.fnGet());
    return done;
}

bool Voice::fnTryToClose() {
    fnReleaseBlock();
    return !m_bHeld && m_Calls.m_Close(m_Device) != WAVERR_STILLPLAYING;
}

void Voice::fnCloseDevice() {
    constexpr int kAttempts = 100;
    m_Calls.m_Reset(m_Device);
    if (m_pPlaying)
        fnTakeBack();
    // A driver may need a moment after the reset.
    for (int i = 0; !fnTryToClose(); ++i) {
        if (i == kAttempts)
            return fnAbandon();
        ::Sleep(1);
    }
}

void Voice::fnAbandon() {
    const Lock lock(theAbandonedLock);
    m_pSelf = shared_from_this();
    m_pNextAbandoned = std::exchange(theFirstAbandoned, this);
}

void Voice::fnCloseAbandoned() {
    const Lock lock(theAbandonedLock);
    for (Voice** link = &theFirstAbandoned; *link;) {
        Voice* const voice = *link;
        if (voice->fnTryToClose()) {
            *link = voice->m_pNextAbandoned;
            voice->m_pSelf.reset();
        } else {
            link = &voice->m_pNextAbandoned;
        }
    }
}

void Voice::fnClose() {
    Lock lock(m_Lock);
    if (std::exchange(m_bClosed, true))
        return;
    ::SetEvent(m_Event.fnGet());
    fnCloseDevice();
    if (m_Reporter != std::this_thread::get_id())
        m_Reported.wait(lock, [this] { return !m_bReporting; });
}

} // namespace q32::win32
