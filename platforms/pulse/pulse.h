/// @file
/// The sound back end over libpulse, for PulseAudio and for PipeWire's compatible server.
///
///     CqPulse sound = q32Pulse({.m_szApplication = "Player"});
///     CqPlatform platform = q32PosixPlatform();
///     platform.m_pWaveOut = sound.m_pWaveOut;
///     platform.m_pMixers = sound.m_pMixers;
#pragma once

#include "platforms/pulse/CqPulseMixers.h"
#include "platforms/pulse/CqPulseOptions.h"
#include "platforms/pulse/CqPulseWaveOut.h"
#include "q32Base/platform/Export.h"

#include <memory>

/// The sound services, over one connection. A platform takes one of the mixers: that of the sink
/// is the volume of the machine, as others hear it too.
struct CqPulse {
    std::shared_ptr<CqPulseWaveOut> m_pWaveOut;  ///< sound output; never null
    std::shared_ptr<CqPulseMixers> m_pMixers;    ///< volume and mute of the sink; never null
    std::shared_ptr<CqPulseMixers> m_pOwnMixers; ///< of the program's own sounds; never null
};

/// Creates the services. The server is contacted when first needed, and again at each call until it
/// is available. Throws std::bad_alloc.
Q32_API CqPulse q32Pulse(const CqPulseOptions& options = {});
