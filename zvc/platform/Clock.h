#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

/// A monotonic tick count, and its ticks per second.
ZV_API uint64_t ClockTicks() noexcept;
ZV_API uint64_t ClockFrequency() noexcept;

/// Local civil time.
struct LocalTime {
    int year, month, day, hour, minute, second, millisecond;
};
ZV_API LocalTime LocalTimeNow() noexcept;

/// The zone's offset in minutes west of Greenwich without daylight time, and whether daylight time is in force.
struct TimeZone {
    int bias;
    bool daylight;
};
ZV_API TimeZone TimeZoneNow() noexcept;

}
