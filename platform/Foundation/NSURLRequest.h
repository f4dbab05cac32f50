#pragma once

#include "Export.h"
#include "NSTypes.h"
#include "NSURL.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tq {

/// One HTTP request, before it is sent. No answer comes from a cache: there is none.
struct NSMutableURLRequest {
    /// Absent: a request for nothing; loading it has no effect and sending it fails. Nor is one with a fragment sent.
    std::optional<NSURL> URL{};
    /// The verb, in capitals.
    std::string HTTPMethod = "GET";
    /// Sent in this order. A value with a line break or another control character makes the request fail unsent.
    std::vector<std::pair<std::string, std::string>> headers{};
    /// What is sent along; absent: nothing.
    OptionalText HTTPBody{};
    /// Seconds from start to the end of the answer.
    double timeoutInterval = 60;
    /// Bytes that the answer's body may have at most; a longer one is an error.
    std::size_t maximumAnswerLength = std::size_t{ 16 } << 20U;

    /// An absent value sends no such header; an empty one sends it empty.
    void setValue(const OptionalText& value, std::string field)
    {
        if (value)
            headers.emplace_back(std::move(field), *value);
    }
};

/// The head of an answer.
struct TQWB_EXPORT NSHTTPURLResponse {
    /// Where it came from.
    std::string URL;
    /// The status of HTTP.
    NSInteger statusCode = 0;

    /// For the log.
    std::string description() const;
};

} // namespace tq
