#pragma once

#include "platform/Foundation/NSError.h"
#include "platform/Foundation/NSTypes.h"

#include <boost/json/object.hpp>
#include <optional>
#include <string>

namespace tq {

/// What the answer of a navigation server comes to.
struct NaviAnswer {
    /// @param data the answer's body; absent when none came. @param status of the answer. @param error why none came.
    static NaviAnswer read(
        const OptionalText& data, NSInteger status, const std::optional<NSError>& error = std::nullopt);

    /// The answer itself when it is a good one, with both addresses of the service; absent after a failure.
    std::optional<boost::json::object> good;

    // After a failure.

    /// One of `TQWBNaviCode`.
    NSUInteger code = 0;
    /// The answer's body as text; absent when there is none.
    OptionalText body;
    /// A sentence for the log.
    std::string description;
};

} // namespace tq
