#pragma once

#include "q32Base/platform/CqWaveOutService.h"

/// No device plays.
class CqSoftwareWaveOut final : public CqWaveOutService {
public:
    bool fnCanPlay(const WAVEFORMATEX&) override { return false; }
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX&, Done) override { return nullptr; }
};
