#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "session/ServiceAnswer.h"

#include <gtest/gtest.h>
#include <limits>

namespace tq::test {
namespace {

TEST(SessionRules, RecordsAreCheckedForPresenceAndMinutesForTheirRange)
{
    const TQWBRoomConfig empty{ "", "", "", "", "", std::numeric_limits<NSUInteger>::max(), 0 };
    EXPECT_TRUE(TQWhiteBoard::invaliedRoomConfig(&empty));
    EXPECT_FALSE(TQWhiteBoard::invaliedRoomConfig(nullptr));
    for (const auto& [minutes, isUsable] : { std::pair{ 10000, true }, { 10001, false }, { -1, false }, { 0, true } }) {
        auto room = empty;
        room.minutes = minutes;
        EXPECT_EQ(TQWhiteBoard::invaliedRoomConfig(&room), isUsable) << minutes;
        EXPECT_EQ(tq::isUsable(room), isUsable) << minutes;
    }
    for (auto field : { &TQWBRoomConfig::appKey, &TQWBRoomConfig::token, &TQWBRoomConfig::roomId,
             &TQWBRoomConfig::userId, &TQWBRoomConfig::userName }) {
        auto room = empty;
        (room.*field).reset();
        EXPECT_FALSE(TQWhiteBoard::invaliedRoomConfig(&room) || tq::isUsable(room));
    }
    const TQWBRecordConfig emptyRecord{ "", "", "", "", "", "" };
    EXPECT_TRUE(TQWhiteBoard::invaliedRecordConfig(&emptyRecord) && tq::isUsable(emptyRecord));
    EXPECT_FALSE(TQWhiteBoard::invaliedRecordConfig(nullptr));
    for (auto field : { &TQWBRecordConfig::appKey, &TQWBRecordConfig::token, &TQWBRecordConfig::roomId,
             &TQWBRecordConfig::userId, &TQWBRecordConfig::userName, &TQWBRecordConfig::url }) {
        auto broken = emptyRecord;
        (broken.*field).reset();
        EXPECT_FALSE(TQWhiteBoard::invaliedRecordConfig(&broken) || tq::isUsable(broken));
    }
}

// The same record and the same answer on machines of 32 and of 64 bits.
TEST(SessionRules, CodesAndRolesAreMachineWordsAndMinutesAreNot)
{
    static_assert(sizeof(NSUInteger) == sizeof(void*) && sizeof(NSInteger) == sizeof(void*));
    static_assert(sizeof(TQWBRoomConfig::roleType) == sizeof(void*) && sizeof(TQWBSessionCode) == sizeof(void*));
    static_assert(sizeof(TQWBRoomConfig::minutes) == 4 && sizeof(ServiceAnswer::code) == 4);
    struct Row {
        const char* json;
        NSUInteger code;
    };
    for (const auto& [json, code] : { Row{ R"({"code":-1})", UINTPTR_MAX },
             Row{ R"({"code":-2147483648})", UINTPTR_MAX - 0x7FFFFFFFU }, Row{ R"({"code":2147483647})", 0x7FFFFFFFU },
             // What does not fit into 32 bits is the same on both.
             Row{ R"({"code":-4294967297})", UINTPTR_MAX - 0x7FFFFFFFU }, Row{ R"({"code":4294967296})", 0x7FFFFFFFU },
             Row{ R"({"code":"40301"})", 40301 }, Row{ R"({"code":0})", 0 }, Row{ R"([-1])", 0 }, Row{ "-1", 0 } })
        EXPECT_EQ(ServiceAnswer(json).failureCode(), code) << json;
    EXPECT_EQ(ServiceAnswer(std::nullopt).failureCode(), 0U);
}

// The text in units of so many bytes.
std::string encoded(std::u32string_view text, std::size_t width, bool isBigEndian)
{
    std::string bytes;
    for (const char32_t unit : text) {
        for (std::size_t index = 0; index < width; ++index)
            bytes += static_cast<char>(unit >> 8 * (isBigEndian ? width - 1 - index : index));
    }
    return bytes;
}

TEST(SessionRules, ARefusalIsOneInEveryEncoding)
{
    // As units of UTF-16; the last member is one character of two units.
    constexpr std::u32string_view kBegin = U"{\"code\":4001,\"desc\":\"\u00E9\u20AC";
    const auto pair = std::u32string(kBegin) + std::u32string{ 0xD83D, 0xDE00 } + U"\"}";
    const auto lone = std::u32string(kBegin) + std::u32string{ 0xDE00, 0xD83D } + U"\"}";
    const auto whole = std::u32string(kBegin) + U"\U0001F600\"}";
    constexpr auto kText = "é€\U0001F600";
    EXPECT_EQ(ServiceAnswer("\xEF\xBB\xBF{\"code\":4001}").code, 4001);
    EXPECT_EQ(ServiceAnswer("\xEF\xBB\xBF\xEF\xBB\xBF{\"code\":4001}").code, 0);
    for (const bool isBigEndian : { true, false }) {
        for (const std::u32string_view mark : { U"", U"\uFEFF" }) {
            const auto begin = std::u32string(mark);
            for (const auto& data : { encoded(begin + pair, 2, isBigEndian), encoded(begin + whole, 4, isBigEndian) }) {
                const ServiceAnswer answer(data);
                EXPECT_EQ(answer.code, 4001);
                EXPECT_EQ(answer.desc, boost::json::value(kText));
                EXPECT_EQ(ServiceAnswer(data + "}").code, 0) << "half a character";
            }
            EXPECT_EQ(ServiceAnswer(encoded(begin + lone, 2, isBigEndian)).code, 0) << "no characters";
            EXPECT_EQ(ServiceAnswer(encoded(begin + pair, 4, isBigEndian)).code, 0) << "no characters";
        }
    }
}

TEST(SessionRules, AKeyThatIsNoTextIsTakenAsItWouldBeWritten)
{
    EXPECT_EQ(ServiceAnswer(R"({"key":"a b"})").key, "a b");
    EXPECT_EQ(ServiceAnswer(R"({"key":[1,"x"]})").key, R"([1,"x"])");
    EXPECT_EQ(ServiceAnswer(R"({"key":9223372036854775807})").key, "9223372036854775807");
    EXPECT_EQ(ServiceAnswer(R"({"key":null})").key, std::nullopt);
}

} // namespace
} // namespace tq::test
