#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tq::conference {

/// The command line, read.
struct Options {
    static constexpr std::size_t s_defaultRoomSize = 16;
    static constexpr std::size_t s_largestRoomSize = 256;

    std::uint16_t port = 0; ///< 0: any free port
    std::string stateDirectory;
    std::vector<std::string> tokens; ///< empty: every token is right, but for the ones that TokenRule names
    std::size_t roomSize = s_defaultRoomSize;

    /// Reads the arguments after the program's name. Absent when they are not right; `fault` then says why.
    static std::optional<Options> parse(const std::vector<std::string>& arguments, std::string& fault);

    static const char* usage();
};

} // namespace tq::conference
