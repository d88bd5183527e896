#pragma once

#include "q32Base/platform/CqMixerService.h"

/// There is no mixer.
class CqSoftwareMixers final : public CqMixerService {
public:
    std::uint32_t fnGetCount() override { return 0; }
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t, Changed) override { return nullptr; }
};
