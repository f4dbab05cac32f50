#pragma once

#include "NSTypes.h"

namespace tq {

/// Seconds since 1 January 1970 UTC.
double timeIntervalSince1970();

/// The system time zone's offset from GMT in seconds at this moment, positive east of Greenwich; read afresh.
NSInteger secondsFromGMT();

} // namespace tq
