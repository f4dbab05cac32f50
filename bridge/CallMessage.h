#pragma once

#include "platform/Foundation/NSTypes.h"

#include <optional>
#include <string_view>

namespace tq {

/// What the page sends with a call: the argument, and the name of the function that takes the results of an
/// asynchronous one.
struct CallMessage {
    /// Reads the message's text. What is no message, or none at all, is one without members; the log says so, except
    /// for an absent text.
    static CallMessage read(std::optional<std::string_view> text);

    /// Absent for null, too.
    OptionalValue data;
    /// Absent in a synchronous call; empty where the page sent something else than a text.
    OptionalText callbackName;
};

} // namespace tq
