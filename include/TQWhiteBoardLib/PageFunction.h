#pragma once

#include "platform/Foundation/NSTypes.h"

#include <chrono>
#include <concepts>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tq {

/// A function of the page, as the page has registered it, and how long its first answer may take: `"sum"`, or
/// `{ "sum", std::chrono::seconds(5) }`.
struct PageFunction {
    /// Without a limit the answer may take as long as the page lives.
    template <std::convertible_to<std::string_view> Name>
    PageFunction(const Name& functionName, std::optional<std::chrono::milliseconds> limit = std::nullopt)
        : name(std::string_view(functionName))
        , timeLimit(limit)
    {
    }

    /// Its name.
    std::string name;
    /// From the call on, also where that waits for the page to be ready. Absent: no limit.
    std::optional<std::chrono::milliseconds> timeLimit;
};

/// What has come of a call of a page function: one of its answers, or its end without one.
struct PageReply {
    /// Absent when the answer carried none.
    OptionalValue value;
    /// Absent for an answer. Otherwise why there is none, in English, or in the page's own words where its function has
    /// failed.
    OptionalText failure = std::nullopt;
};

/// Takes what comes of a call.
using PageReplyCallback = std::function<void(PageReply reply)>;

} // namespace tq
