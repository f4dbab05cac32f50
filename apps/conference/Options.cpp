#include "Options.h"

#include <charconv>

namespace tq::conference {

namespace {

std::optional<std::size_t> number(const std::string& text, std::size_t low, std::size_t high)
{
    std::size_t value = 0;
    const auto* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < low || value > high)
        return std::nullopt;
    return value;
}

/// Stores one option's value; a text that says what is wrong, or absent.
std::optional<std::string> store(Options& options, const std::string& name, const std::string& value, bool& hasPort)
{
    if (name == "--port") {
        const auto port = number(value, 0, UINT16_MAX);
        if (!port)
            return "--port takes a number from 0 to 65535, not \"" + value + "\"";
        options.port = static_cast<std::uint16_t>(*port);
        hasPort = true;
    } else if (name == "--state") {
        options.stateDirectory = value;
    } else if (name == "--token") {
        options.tokens.push_back(value);
    } else {
        const auto size = number(value, 1, Options::s_largestRoomSize);
        if (!size)
            return "--room-size takes a number from 1 to 256, not \"" + value + "\"";
        options.roomSize = *size;
    }
    return std::nullopt;
}

} // namespace

std::optional<Options> Options::parse(const std::vector<std::string>& arguments, std::string& fault)
{
    Options options;
    bool hasPort = false;
    for (std::size_t i = 0; i < arguments.size(); i += 2) {
        const auto& name = arguments[i];
        if (name != "--port" && name != "--state" && name != "--token" && name != "--room-size") {
            fault = "unknown option \"" + name + "\"";
            return std::nullopt;
        }
        if (i + 1 == arguments.size()) {
            fault = name + " needs a value";
            return std::nullopt;
        }
        if (const auto wrong = store(options, name, arguments[i + 1], hasPort)) {
            fault = *wrong;
            return std::nullopt;
        }
    }
    if (!hasPort || options.stateDirectory.empty()) {
        fault = !hasPort ? "--port is missing" : "--state is missing";
        return std::nullopt;
    }
    return options;
}

const char* Options::usage()
{
    return "usage: tqwhiteboard-conference --port P --state DIR [--token T ...] [--room-size N]\n"
           "  --port P       listen on this port of 127.0.0.1 (0: a free one)\n"
           "  --state DIR    keep the certificate and the recordings here\n"
           "  --token T      accept only this token (may be repeated)\n"
           "  --room-size N  most members of a room, 1 to 256 (16)\n";
}

} // namespace tq::conference
