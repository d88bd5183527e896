/// @file
/// Makes calls of libpulse fail on demand. In a test program linked with this, the calls of
/// libpulse that can fail are replaced; without a scripted failure they work as usual.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

/// During its lifetime, the `nth` call that can fail does so (1 is the next one), in any thread; or
/// that of one function only; with `all` every later one too. Objects don't nest.
class PulseFailure {
public:
    explicit PulseFailure(std::size_t nth, const char* function = nullptr, bool all = false);
    ~PulseFailure();
    PulseFailure(const PulseFailure&) = delete;
    PulseFailure& operator=(const PulseFailure&) = delete;

    /// The function that failed; empty if none has.
    static std::string fnGetFailed();
};

/// During its lifetime, the server reports each stream's position by this clock, which starts
/// now and runs `slowness` times slower than real time; 0: it stands still.
class PulseSlowClock {
public:
    explicit PulseSlowClock(int slowness);
    ~PulseSlowClock();
    PulseSlowClock(const PulseSlowClock&) = delete;
    PulseSlowClock& operator=(const PulseSlowClock&) = delete;
};

/// During its lifetime, the answer to the first drain request is withheld, and the request
/// is cancelled in the next pause, as libpulse does after half a minute.
class PulseDrainGivenUp {
public:
    PulseDrainGivenUp();
    ~PulseDrainGivenUp();
    PulseDrainGivenUp(const PulseDrainGivenUp&) = delete;
    PulseDrainGivenUp& operator=(const PulseDrainGivenUp&) = delete;

    static bool fnIsAsked();
    static bool fnIsGivenUp();
};

/// During its lifetime, servers name no default output, as PipeWire does for an early client.
class PulseNoDefault {
public:
    PulseNoDefault();
    ~PulseNoDefault();
    PulseNoDefault(const PulseNoDefault&) = delete;
    PulseNoDefault& operator=(const PulseNoDefault&) = delete;
};

/// The number of underflows that servers have reported so far.
std::size_t fnCountUnderflows();
