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
    auto config
        = optionsOf({ "join", "--app-key", "k", "--token", "a=b@host:1", "--user=", "--name=--x" }).roomConfig();
    EXPECT_EQ(config.appKey, "k");
    EXPECT_EQ(config.token, "a=b@host:1");
    EXPECT_EQ(config.roomId, std::nullopt);
    EXPECT_EQ(config.userId, "");
    EXPECT_EQ(config.userName, "--x");
    EXPECT_EQ(config.roleType, 0U);
    EXPECT_EQ(config.minutes, 0);

    auto record = optionsOf({ "play", "--room", "r", "--url", "https://x/y" }).recordConfig();
    EXPECT_EQ(record.roomId, "r");
    EXPECT_EQ(record.url, "https://x/y");
    EXPECT_EQ(record.appKey, std::nullopt);
}

TEST(OptionsTests, NumbersReachTheEndsOfTheirTypes)
{
    constexpr auto largestRole = std::numeric_limits<tq::NSUInteger>::max();
    auto largest = std::to_string(largestRole);
    EXPECT_EQ(optionsOf({ "join", "--role", largest }).role, largestRole);
    EXPECT_EQ(optionsOf({ "join", "--minutes", "-2147483648" }).minutes, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(optionsOf({ "join", "--minutes", "2147483647" }).minutes, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(optionsOf({ "--size", "360x720" }).size, (Size{ 360, 720 }));
}

TEST(OptionsTests, CommonOptionsNeedNoCommand)
{
    auto options = optionsOf({ "--ca", "ca.pem", "--trust-any-page", "--debug" });
    EXPECT_EQ(options.command, StartCommand::None);
    EXPECT_EQ(options.caFile, "ca.pem");
    EXPECT_TRUE(options.trustsAnyPage);
    EXPECT_TRUE(options.isDebug);
    EXPECT_EQ(optionsOf({}).size, (Size{ 1280, 800 }));
    EXPECT_EQ(optionsOf({ "join", "--help" }).command, StartCommand::Help);
    EXPECT_EQ(optionsOf({ "--version" }).command, StartCommand::Version);
}

TEST(OptionsTests, WhatCannotBeUsedIsSaid)
{
    auto tooLarge = std::to_string(std::numeric_limits<tq::NSUInteger>::max()) + "0";
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
    EXPECT_NE(failureOf({ "join", "--role", tooLarge }), "");
}

} // namespace
} // namespace tqclient
