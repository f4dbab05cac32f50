#include "Options.h"

#include <array>
#include <charconv>
#include <getopt.h>
#include <string_view>

namespace tq::conference {

namespace {

// None of them is a letter: there are no short options.
enum Name { Port = 256, State, Token, RoomSize, Help, Version };

constexpr auto s_options = std::to_array<option>({
    { "port", required_argument, nullptr, Port },
    { "state", required_argument, nullptr, State },
    { "token", required_argument, nullptr, Token },
    { "room-size", required_argument, nullptr, RoomSize },
    { "help", no_argument, nullptr, Help },
    { "version", no_argument, nullptr, Version },
    { nullptr, 0, nullptr, 0 },
});

std::size_t number(const std::string& option, std::size_t low, std::size_t high)
{
    const std::string_view text = optarg;
    std::size_t value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size() || value < low || value > high)
        throw UsageError(option + " takes a number from " + std::to_string(low) + " to " + std::to_string(high)
            + ", not \"" + std::string(text) + "\"");
    return value;
}

} // namespace

Options Options::parse(int count, char** arguments)
{
    Options options;
    bool hasPort = false;
    opterr = 0;
    for (int name = 0; (name = ::getopt_long(count, arguments, ":", s_options.data(), nullptr)) != -1;) {
        switch (name) {
        case Port:
            options.port = static_cast<std::uint16_t>(number("--port", 0, UINT16_MAX));
            hasPort = true;
            break;
        case State:
            options.stateDirectory = optarg;
            break;
        case Token:
            options.tokens.emplace_back(optarg);
            break;
        case RoomSize:
            options.roomSize = number("--room-size", 1, s_largestRoomSize);
            break;
        case Help:
            options.action = Action::Help;
            return options;
        case Version:
            options.action = Action::Version;
            return options;
        case ':':
            throw UsageError(std::string(arguments[optind - 1]) + " needs a value");
        default:
            const bool isLetter = optopt > 0 && optopt < Port;
            throw UsageError("unknown option \""
                + (isLetter ? "-" + std::string(1, static_cast<char>(optopt)) : arguments[optind - 1]) + "\"");
        }
    }
    if (optind < count)
        throw UsageError("unexpected argument \"" + std::string(arguments[optind]) + "\"");
    if (!hasPort || options.stateDirectory.empty())
        throw UsageError(hasPort ? "--state is missing" : "--port is missing");
    return options;
}

const char* Options::usage()
{
    return "usage: tqwhiteboard-conference --port P --state DIR [options]; tqwhiteboard-conference --help lists the "
           "options\n";
}

const char* Options::help()
{
    return R"(Serves whiteboard rooms to this machine, over HTTPS.

usage:
  tqwhiteboard-conference --port P --state DIR [OPTIONS]

options:
  --port P           listen on this port of the loopback interface (0: a free one)
  --state DIR        keep the certificate and the recordings here
  --token T          accept only this token (may be repeated)
  --room-size N      most members of a room, 1 to 256 (default 16)
  --help, --version

Standard output is one line of JSON, when the service is ready.
)";
}

} // namespace tq::conference
