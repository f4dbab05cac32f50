#pragma once

#include "platform/Foundation/NSTypes.h"

#include <cstdint>

namespace tq {

/// How long a navigation answer stays good.
inline constexpr std::int64_t kNaviLifetimeSeconds = 7200;

/// The time that an answer is stored with and judged by: seconds since 1970, less the zone's offset from GMT.
inline std::int64_t naviTimestamp(double secondsSince1970, NSInteger secondsFromGMT)
{
    return static_cast<std::int64_t>(secondsSince1970 - static_cast<double>(secondsFromGMT));
}

/// Whether an answer has become too old. One from the future has not. The stored time may be any number at all.
inline bool isNaviStale(std::int64_t now, std::int64_t stored) { return stored < now - kNaviLifetimeSeconds; }

} // namespace tq
