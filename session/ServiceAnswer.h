#pragma once

#include "platform/Foundation/NSTypes.h"

#include <cstdint>

namespace tq {

/// What the conference service says. An answer that cannot be read counts as code 0 without anything else.
struct ServiceAnswer {
    explicit ServiceAnswer(const OptionalText& data);

    /// Whether it is a JSON object with a code, as the service's answers are.
    bool isReadable = false;
    /// 0: success; anything else is the service's own code.
    std::int32_t code = 0;
    /// The code as the application is told it: the sign is carried into the word.
    NSUInteger failureCode() const { return static_cast<NSUInteger>(static_cast<NSInteger>(code)); }
    /// Why it failed, as it stands in the answer; for the log.
    OptionalValue desc;
    /// The same as the application is told it; absent when it is no text.
    OptionalText failureText() const;
    /// The room page's key.
    OptionalText key;
};

} // namespace tq
