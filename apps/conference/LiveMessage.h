#pragma once

#include "Role.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tq::conference {

/// What a room page sends over its socket, checked. Room.h describes the messages.
struct LiveMessage {
    static constexpr std::size_t s_largest = 65536; ///< bytes
    static constexpr std::size_t s_mostPoints = 1024; ///< of one message

    struct Begin {
        std::int64_t id;
        std::string color;
        std::int64_t width;
        std::vector<double> points;
    };
    struct Points {
        std::int64_t id;
        std::vector<double> points;
    };
    struct End {
        std::int64_t id;
    };
    struct Undo { };
    struct Clear { };
    struct Record {
        bool on;
    };
    struct ChangeRole {
        std::string uid;
        Role role;
    };
    using Any = std::variant<Begin, Points, End, Undo, Clear, Record, ChangeRole>;

    /// Throws a Refusal that names the fault.
    static Any parse(std::string_view text);
};

} // namespace tq::conference
