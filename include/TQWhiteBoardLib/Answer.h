#pragma once

#include "PageFunction.h"
#include "platform/Foundation/NSConversion.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tq {

/// A type that answers of a page can be made into. A view is none: nothing would hold what it looks at.
template <class T>
concept AnswerType = JSONReadable<T> && !std::same_as<T, std::string_view>;

/// One answer of a page function, made into a type.
template <AnswerType T> struct Answer {
    /// Absent when the page has answered something else.
    std::optional<T> value;
    /// Why there is no value: "calculator.add: the answer is not an integer", or why there is no answer.
    std::string error;

    /// Whether there is a value.
    explicit operator bool() const { return value.has_value(); }

    /// Reads what the page has answered. @param handlerName names the function in the error.
    static Answer read(std::string_view handlerName, OptionalValue&& answered)
    {
        boost::json::value nothing;
        auto& whole = answered ? *answered : nothing;
        Answer answer;
        answer.value = readJSON<T>(whole);
        if (!answer)
            answer.error = std::string(handlerName) + ": " + mismatchText("the answer", kindOf<T>(), whole);
        return answer;
    }
    /// The same for a call that may have failed.
    static Answer read(std::string_view handlerName, PageReply&& reply)
    {
        if (!reply.failure)
            return read(handlerName, std::move(reply.value));
        return { std::nullopt, std::string(handlerName).append(": ").append(*reply.failure) };
    }
};

} // namespace tq
