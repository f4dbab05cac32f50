#pragma once

#include <string_view>

namespace tqclient {

/// What the client can ask of a room.
enum class Operation { Join, Play, Quit };

/// The operation's name on the command line and in the output.
constexpr std::string_view nameOf(Operation operation)
{
    switch (operation) {
    case Operation::Join:
        return "join";
    case Operation::Play:
        return "play";
    case Operation::Quit:
        return "quit";
    }
    return {};
}

} // namespace tqclient
