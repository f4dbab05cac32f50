#pragma once

#include "platform/Foundation/Export.h"
#include "platform/Foundation/NSTypes.h"

#include <string>
#include <string_view>
#include <vector>

namespace tq {

/// Who can do something about a failure.
enum class TQWBErrorCategory {
    /// The application: a record that cannot be used, or a call at a time when it has no meaning.
    Usage,
    /// The user's connection, or whoever runs a server that cannot be reached or does not answer.
    Network,
    /// Whoever runs a server whose certificate is not trusted; or a network whose own certificate is shown instead.
    Certificate,
    /// Whoever gives out tokens: the one that was used is refused.
    Token,
    /// The conference service, which refuses, or does not speak as one.
    Service,
    /// Whoever runs the room's page, which cannot be had, was lost, or says itself that its room has failed.
    Page,
    /// Nobody: the application wanted no more of it.
    Cancelled,
};

/// The category in a word, in small letters, as "certificate".
TQWB_EXPORT std::string_view nameOf(TQWBErrorCategory category);

/// What one navigation server had to say.
struct TQWBServerAnswer {
    /// Its address.
    std::string server;
    /// Why it was of no use: one of `TQWBNaviCode`.
    NSUInteger code = 0;
    /// The same in words, or what went wrong on the way.
    std::string text;
};

/// Why something has failed.
struct TQWB_EXPORT TQWBError {
    /// Who can do something about it.
    TQWBErrorCategory category = TQWBErrorCategory::Usage;
    /// One of `TQWBSessionCode`, `TQWBNaviCode` or `TQWBRoomCode`; in the category `Service` also the service's own
    /// code, and in `Page` the status of HTTP, or the code with which the page says that its room has failed.
    NSUInteger code = 0;
    /// One or two sentences in English, or the service's or the page's own text; for people who look into it. May be
    /// empty.
    std::string text;
    /// When the service was not found: what each navigation server answered, in the order in which they were asked.
    std::vector<TQWBServerAnswer> servers = {};

    /// What the error callback of a `TQWhiteBoard` was given, as an error. A code alone does not tell certificates from
    /// other troubles of a network.
    static TQWBError ofCode(NSUInteger code, const OptionalText& text);
};

} // namespace tq
