#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

/// A monotonic tick count, and its ticks per second, which never change.
ZV_API uint64_t ClockTicks() noexcept;
ZV_API uint64_t ClockFrequency() noexcept;

/// Local civil time: month and day from 1, seconds to 60 in a leap second.
struct LocalTime {
    int year, month, day, hour, minute, second, millisecond;
};
ZV_API LocalTime LocalTimeNow() noexcept;

/// The zone's offset in minutes west of Greenwich without daylight time, and whether daylight time is in force. Follows the
/// environment's zone as it stands at the call.
struct TimeZone {
    int bias;
    bool daylight;
};
ZV_API TimeZone TimeZoneNow() noexcept;

}
