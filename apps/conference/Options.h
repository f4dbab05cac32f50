#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace tq::conference {

/// A command line that cannot be used, and why.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The command line, read.
struct Options {
    enum class Action { Serve, Help, Version };

    static constexpr std::size_t s_largestRoomSize = 256;

    Action action = Action::Serve;
    std::uint16_t port = 0; ///< 0: any free port
    std::string stateDirectory;
    std::vector<std::string> tokens; ///< empty: every token is right, but for the ones that TokenRule names
    std::size_t roomSize = 16;

    /// Throws a UsageError.
    static Options parse(int count, char** arguments);

    /// One line, which names the way to `help`.
    static const char* usage();
    static const char* help();
};

} // namespace tq::conference
