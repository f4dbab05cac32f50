#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// Codes of failed navigation: the conference service was not found.
enum TQWBNaviCode : NSUInteger {
    /// There is no address to ask.
    TQWBNaviCodeInvalidUrl = static_cast<NSUInteger>(-1),
    /// A server refused the token; no other one is asked.
    TQWBNaviCodeUnauthorized = 100010,
    /// The last server could not be reached, gave another status than 200, or an answer that is too long.
    TQWBNaviCodeRequestFailed = 300003,
    /// The last server's answer lacks an address of the service.
    TQWBNaviCodeAnswerIncomplete = 300004,
};

} // namespace tq
