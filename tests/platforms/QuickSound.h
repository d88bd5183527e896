/// @file A sound device that reads each block at once and reports its end before the write returns.
#pragma once

#include "q32Base/platform/CqWaveOutService.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace q32::test {

class QuickSound : public CqWaveOutService {
public:
    bool fnCanPlay(const WAVEFORMATEX&) override { return true; }
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX&, Done done) override {
        return std::make_unique<Device>(*this, std::move(done));
    }

    /// The sum of the bytes of the last block.
    unsigned int m_nHeard = 0;

private:
    class Device : public CqWaveOut {
    public:
        Device(QuickSound& service, Done done) : m_Service(service), m_Done(std::move(done)) {}

        bool fnPrepare(WAVEHDR&) override { return true; }
        bool fnWrite(WAVEHDR& header) override {
            m_Service.m_nHeard = 0;
            for (DWORD i = 0; i < header.dwBufferLength; ++i)
                m_Service.m_nHeard += static_cast<unsigned char>(header.lpData[i]);
            const Done done = std::move(m_Done); // which destroys this device
            done(header);
            return true;
        }
        bool fnUnprepare(WAVEHDR&) override { return true; }
        bool fnPause() override { return false; }
        bool fnRestart() override { return false; }
        bool fnReset() override { return true; }

    private:
        QuickSound& m_Service;
        Done m_Done;
    };
};

} // namespace q32::test
