/// @file
/// Playback of a sound. Two threads are involved: the owner's, and the device's, which reports the
/// end. The state and the device change together, under the lock. The owner's thread never holds
/// the lock when it calls the device, since the end may be reported from within that call; it uses
/// its own reference to the device, since the end releases the sound's.

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/sound/CqWave.h"

#include <cassert>
#include <utility>

namespace {

constexpr DWORD kLoopFlags = 4 | 8; ///< the block both begins and ends a loop
constexpr DWORD kForEver = 0xFFFFFFFFu;

} // namespace

WAVE_STATE CqWave::fnGetState() const {
    const std::lock_guard lock(m_PlayLock);
    return m_nState;
}

std::shared_ptr<CqWaveOut> CqWave::fnGetDevice(WAVE_STATE state) const {
    const std::lock_guard lock(m_PlayLock);
    return m_nState == state ? m_hWaveOut : nullptr;
}

/// No effect if the sound has left the state `from` meanwhile, because it has ended.
void CqWave::fnChangeState(WAVE_STATE from, WAVE_STATE to) {
    const std::lock_guard lock(m_PlayLock);
    if (m_nState == from)
        m_nState = to;
}

void CqWave::fnAwaitEnd() {
    std::unique_lock lock(m_PlayLock);
    m_hDoneEvent.wait(lock, [&] { return m_nState == WAVE_STOPPED; });
}

bool CqWave::fnPlay(bool bWait, bool bLoop) {
    if (const std::shared_ptr<CqWaveOut> device = fnGetDevice(WAVE_PAUSED)) {
        const bool resumed = q32::fnTryMemory([&] { return device->fnRestart(); });
        if (resumed)
            fnChangeState(WAVE_PAUSED, WAVE_PLAYING);
        return resumed;
    }
    fnStop();
    return fnStart(bWait && !bLoop, bLoop);
}

bool CqWave::fnStart(bool bWait, bool bLoop) {
    CqWaveOutService& service = *q32::fnPlatform().m_pWaveOut;
    std::shared_ptr<CqWaveOut> device;
    const bool opened = q32::fnTryMemory([&] {
        if (!service.fnCanPlay(m_Format))
            return false;
        device =
            service.fnOpen(m_Format, [this](WAVEHDR& header) { fnPlayCallback(*this, header); });
        return device != nullptr;
    });
    if (!opened)
        return false;
    std::shared_ptr<CqWaveOut> leftOver = device;
    {
        const std::lock_guard lock(m_PlayLock);
        m_hWaveOut.swap(leftOver);
    }
    leftOver.reset();
    m_Header = {};
    m_Header.lpData = reinterpret_cast<char*>(fnGetBuffer());
    m_Header.dwBufferLength = fnGetBufferSize();
    if (bLoop) {
        m_Header.dwFlags = kLoopFlags;
        m_Header.dwLoops = kForEver;
    }
    if (!fnWrite(std::move(device)))
        return false;
    if (!bWait)
        return true;
    fnAwaitEnd();
    return !m_Block.fnHasNewLosses();
}

/// Takes over the caller's reference, so that the device isn't kept open beyond the end.
bool CqWave::fnWrite(std::shared_ptr<CqWaveOut> device) {
    assert(device && m_Header.dwBufferLength == fnGetBufferSize());
    if (!q32::fnTryMemory([&] { return device->fnPrepare(m_Header); }))
        return false;
    // Before the call, since the end may be reported before it returns.
    fnChangeState(WAVE_STOPPED, WAVE_PLAYING);
    const bool written = q32::fnTryMemory([&] { return device->fnWrite(m_Header); });
    if (!written)
        fnChangeState(WAVE_PLAYING, WAVE_STOPPED);
    return written;
}

void CqWave::fnPause() {
    const std::shared_ptr<CqWaveOut> device = fnGetDevice(WAVE_PLAYING);
    if (!device)
        return;
    // The state deliberately becomes paused even if the device refuses.
    q32::fnTryMemory([&] { return device->fnPause(); });
    fnChangeState(WAVE_PLAYING, WAVE_PAUSED);
}

void CqWave::fnStop() {
    std::unique_lock lock(m_PlayLock);
    if (m_nState == WAVE_STOPPED)
        return;
    std::shared_ptr<CqWaveOut> device = m_hWaveOut;
    assert(device); // released together with the state
    lock.unlock();
    device->fnReset();
    device.reset();
    fnAwaitEnd();
}

/// The end of the block, reported on the device's thread. The sound isn't accessed after the lock
/// is released: its owner may delete it at once.
void CqWave::fnPlayCallback(CqWave& wave, WAVEHDR& header) {
    const std::lock_guard lock(wave.m_PlayLock);
    // The destructor may already have taken the device.
    if (wave.m_hWaveOut) {
        wave.m_hWaveOut->fnUnprepare(header);
        wave.m_hWaveOut.reset();
    }
    wave.m_nState = WAVE_STOPPED;
    wave.m_hDoneEvent.notify_all();
}
