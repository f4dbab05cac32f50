#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// Codes of the session's own failures.
enum TQWBCode : NSUInteger {
    TQWBCodeNotInitialized = 300001,
    TQWBCodeInvalidConfig = 300002,
    /// A join or a quit did not reach the service.
    TQWBCodeRequestFailed = 300005,
    TQWBCodeJoinUrlMissing = 300006,
    TQWBCodePlayRequestFailed = 300007,
    TQWBCodePlayUrlMissing = 300008,
    TQWBCodeNotInRoom = 300010,
};

} // namespace tq
