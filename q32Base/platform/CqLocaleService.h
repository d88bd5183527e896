#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Flags of `CqLocaleService::fnFormatTime`.

inline constexpr UINT kTimeNoSeconds = 2;   ///< for `fnFormatTime`: hours and minutes only
inline constexpr UINT kTimeForce24Hour = 8; ///< for `fnFormatTime`: no AM and PM

/// The user's language and code page. May throw std::bad_alloc.
class Q32_API CqLocaleService {
public:
    virtual ~CqLocaleService() = default;

    /// Length in bytes of the character that begins at `text`, of which `count` bytes (at least 1)
    /// are available: 1 to `count`. A byte that doesn't begin a complete character counts as a
    /// character.
    virtual std::size_t fnGetCharBytes(const char* text, std::size_t count) = 0;

    /// The date in the user's short form. False on failure.
    virtual bool fnFormatDate(const SYSTEMTIME& time, std::string& text) = 0;
    /// The time of day in the user's form, by kTime flags. False on failure.
    virtual bool fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) = 0;

    /// Local time of a moment, given in seconds since 1970-01-01 00:00 UTC. False on failure.
    virtual bool fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) = 0;
};
