#include "apps/client/Options.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace tqclient {
namespace {

using Words = std::vector<std::string_view>;

std::string failureOf(const Words& words)
{
    auto parsed = Options::parse(words);
    const auto* error = std::get_if<UsageError>(&parsed);
    return error ? error->message : "";
}

Options optionsOf(const Words& words)
{
    auto parsed = Options::parse(words);
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        ADD_FAILURE() << error->message;
        return {};
    }
    return std::get<Options>(parsed);
}

TEST(OptionsTests, LeftOutIsAbsentAndEmptyIsEmpty)
{
    constexpr auto largestRole = std::numeric_limits<tq::NSUInteger>::max();
    const auto largest = std::to_string(largestRole);
    auto config = optionsOf({ "join", "--app-key", "k", "--token", "a=b@host:1", "--user=", "--name=--x", "--role",
                                largest, "--minutes", "-2147483648" })
                      .roomConfig();
    EXPECT_EQ(config.appKey, "k");
    EXPECT_EQ(config.token, "a=b@host:1");
    EXPECT_EQ(config.roomId, std::nullopt);
    EXPECT_EQ(config.userId, "");
    EXPECT_EQ(config.userName, "--x");
    EXPECT_EQ(config.roleType, largestRole);
    EXPECT_EQ(config.minutes, std::numeric_limits<std::int32_t>::min());

    auto record = optionsOf({ "play", "--room", "r", "--url", "https://x/y" }).recordConfig();
    EXPECT_EQ(record.roomId, "r");
    EXPECT_EQ(record.url, "https://x/y");
    EXPECT_EQ(record.appKey, std::nullopt);

    const auto options = optionsOf({ "--ca", "ca.pem", "--trust-any-page", "--debug", "--size", "360x720" });
    EXPECT_EQ(options.command, StartCommand::None);
    EXPECT_EQ(options.caFile, "ca.pem");
    EXPECT_TRUE(options.trustsAnyPage && options.isDebug);
    EXPECT_EQ(options.size, (Size{ 360, 720 }));
    EXPECT_EQ(optionsOf({ "join", "--help" }).command, StartCommand::Help);
}

TEST(OptionsTests, WhatCannotBeUsedIsSaid)
{
    struct Case {
        Words words;
        std::string_view message;
    };
    const Case cases[] = {
        { { "leave" }, "unknown command \"leave\"" },
        { { "join", "play" }, "unexpected argument \"play\"" },
        { { "join", "--colour", "red" }, "unknown option \"--colour\"" },
        { { "join", "--debug=yes" }, "unknown option \"--debug\"" },
        { { "join", "--token", "--room", "r" }, "--token needs a value" },
        { { "join", "--url", "u" }, "--url belongs to play" },
        { { "play", "--role", "1" }, "--role belongs to join" },
        { { "--room", "r" }, "--room belongs to join or play" },
        { { "join", "--role", "-1" }, "--role takes 0 (presenter) or another whole number (viewer), not \"-1\"" },
        { { "join", "--minutes", "30m" }, "--minutes takes a whole number of 32 bits, not \"30m\"" },
        { { "join", "--name", "\xff" }, "the value of --name is not valid UTF-8" },
        { { "--size", "0x5" }, "--size takes a size such as 1280x800, not \"0x5\"" },
    };
    for (const auto& [words, message] : cases)
        EXPECT_EQ(failureOf(words), message);
}

} // namespace
} // namespace tqclient
