#pragma once

#include "platform/Foundation/NSTypes.h"

#include <optional>
#include <string_view>

namespace tq {

/// What the page sends with a call: the argument, and the name of the function that takes the results of an
/// asynchronous one.
struct CallMessage {
    /// Reads a message of the form that most pages send it in; absent for any other.
    /// @param secret what a page of the main frame has been given; empty: nothing is asked for.
    static std::optional<CallMessage> readPlain(std::optional<std::string_view> text, std::string_view secret = {});
    /// Reads the message's text of whatever form. What is no message, or none at all, is one without members; the log
    /// says so, except for an absent text.
    static CallMessage readAny(std::optional<std::string_view> text, std::string_view secret = {});
    /// The same, by the shorter way where that goes.
    static CallMessage read(std::optional<std::string_view> text);

    /// Absent for null, too.
    OptionalValue data;
    /// Absent in a synchronous call; empty where the page sent something else than a text.
    OptionalText callbackName;
    /// Whether the page asks for more than the plain answers can say: whether a result is still to come, and why there
    /// is none.
    bool asksForMore = false;
    /// Whether it has the secret; false when none is asked for.
    bool hasSecret = false;
};

} // namespace tq
