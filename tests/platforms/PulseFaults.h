/// @file
/// Makes calls of libpulse fail on demand. A test program that is linked with this has the calls of
/// libpulse that can fail replaced; without an order they do as ever.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

/// For its life, the `nth` call that can fail does so (1 is the next one), of all threads; or that
/// of one function alone; and with `all` every later one too. Orders don't nest.
class PulseFailure {
public:
    explicit PulseFailure(std::size_t nth, const char* function = nullptr, bool all = false);
    ~PulseFailure();
    PulseFailure(const PulseFailure&) = delete;
    PulseFailure& operator=(const PulseFailure&) = delete;

    /// The function that failed; empty as long as none has.
    static std::string fnGetFailed();
};

/// For its life, the server tells of each stream that so much of it has been heard as this clock
/// shows, which starts now and goes `slowness` times slower than others; 0: it stands still.
class PulseSlowClock {
public:
    explicit PulseSlowClock(int slowness);
    ~PulseSlowClock();
    PulseSlowClock(const PulseSlowClock&) = delete;
    PulseSlowClock& operator=(const PulseSlowClock&) = delete;
};

/// For its life, what servers answer to the first question for an end is kept back, and the
/// question is given up in the pause that comes next, as libpulse does after half a minute.
class PulseDrainGivenUp {
public:
    PulseDrainGivenUp();
    ~PulseDrainGivenUp();
    PulseDrainGivenUp(const PulseDrainGivenUp&) = delete;
    PulseDrainGivenUp& operator=(const PulseDrainGivenUp&) = delete;

    static bool fnIsAsked();
    static bool fnIsGivenUp();
};

/// For its life, servers know no default output, as PipeWire does for a client that came too early.
class PulseNoDefault {
public:
    PulseNoDefault();
    ~PulseNoDefault();
    PulseNoDefault(const PulseNoDefault&) = delete;
    PulseNoDefault& operator=(const PulseNoDefault&) = delete;
};

/// How often servers have told so far that they had nothing left to play.
std::size_t fnCountUnderflows();
