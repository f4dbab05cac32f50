#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// Codes of failed navigation.
enum TQWBNaviCode : NSUInteger {
    /// There is no address to ask.
    TQWBNaviCodeInvalidUrl = static_cast<NSUInteger>(-1),
    /// The server refused the token; no other one is asked.
    TQWBNaviCodeUnauthorized = 100010,
    /// The server could not be reached, or answered another status than 200.
    TQWBNaviCodeRequestFailed = 300003,
    /// The answer lacks an address of the service.
    TQWBNaviCodeAnswerIncomplete = 300004,
};

} // namespace tq
