#pragma once

#include <cstddef>
#include <string_view>

namespace tqclient {

/// What the client can ask of a room.
enum class Operation { Join, Play, Quit };

/// The operation's name on the command line and in the output.
constexpr std::string_view nameOf(Operation operation)
{
    constexpr std::string_view kNames[] = { "join", "play", "quit" };
    return kNames[static_cast<std::size_t>(operation)];
}

} // namespace tqclient
