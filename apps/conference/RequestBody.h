#pragma once

#include "Role.h"

#include <chrono>
#include <string>
#include <string_view>

namespace tq::conference {

// The bodies of requests. One of any other shape is refused with a text that names the fault.

/// The user of a request.
struct User {
    static constexpr std::size_t s_longestUid = 128;
    static constexpr std::size_t s_longestName = 128;

    std::string uid;
    std::string name;
};

struct JoinBody {
    User user;
    Role role;
    std::chrono::minutes minutes;

    static JoinBody parse(std::string_view body);
};

struct PlayBody {
    User user;
    std::string room;
    /// ID of https://HOST/recordings/ID.json; empty for any other address. The host is not looked at: the service may
    /// have been started again on another port.
    std::string recording;

    static PlayBody parse(std::string_view body);
};

/// The token of token=TOKEN&v=VERSION&p=iOS, in which nothing is escaped: it goes up to the last "&v=", and may hold
/// anything.
std::string_view tokenOfNavigation(std::string_view body);

} // namespace tq::conference
