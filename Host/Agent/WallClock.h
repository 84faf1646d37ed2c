#pragma once

#include "Platform/Framework/Types.h"

#include <cstddef>
#include <string>

namespace KelHost {

// Seconds since 1970, to a few milliseconds, at the cost of a few nanoseconds.
F64 wallClock();

// Writes such a time as local time, "2026-11-23 14:02:24.123", in at most 32 bytes, and returns
// their number.
std::size_t wallClockText( F64 time, char * to );

} // namespace KelHost
