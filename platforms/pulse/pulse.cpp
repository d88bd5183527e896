#include "platforms/pulse/pulse.h"

#include "platforms/pulse/Connection_p.h"

using q32::pulse::VOLUME_OF;

CqPulse q32Pulse(const CqPulseOptions& options) {
    const auto connection = std::make_shared<q32::pulse::Connection>(options);
    return {std::make_shared<CqPulseWaveOut>(connection),
            std::make_shared<CqPulseMixers>(connection, VOLUME_OF::SINK),
            std::make_shared<CqPulseMixers>(connection, VOLUME_OF::SOUNDS)};
}
