#pragma once

#include "platforms/win32/Failures_p.h"
#include "platforms/win32/MixerCalls_p.h"
#include "q32Base/platform/CqMixerService.h"

#include <memory>
#include <utility>

/// The system's mixers. Changes are reported while the owner's thread handles messages. Not every
/// driver reports them itself: each mixer also looks at its controls five times a second.
class CqWin32Mixers final : public CqMixerService {
public:
    /// @param failures  keeps what reports throw
    explicit CqWin32Mixers(std::shared_ptr<q32::win32::Failures> failures,
                           const q32::win32::MixerCalls& calls = {})
        : m_pFailures(std::move(failures)), m_Calls(calls) {}

    std::uint32_t fnGetCount() override { return m_Calls.m_GetCount(); }
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) override;

private:
    std::shared_ptr<q32::win32::Failures> m_pFailures;
    q32::win32::MixerCalls m_Calls;
};
