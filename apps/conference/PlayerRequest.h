#pragma once

#include "Refusal.h"

#include <string>
#include <string_view>
#include <variant>

namespace tq::conference {

/// The body of a replay request.
struct PlayerRequest {
    std::string url; ///< the recording's address, as it was sent
    std::string room;
    std::string uid;
    std::string name;

    static std::variant<PlayerRequest, Refusal> parse(std::string_view body);

    /// The recording that the address names: ID of https://HOST/recordings/ID.json; empty if it names none. The host is
    /// not looked at: the service may have been started again on another port.
    std::string recordingId() const;
};

} // namespace tq::conference
