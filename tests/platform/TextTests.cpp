#include "platform/Foundation/JSONWriter.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/Unicode.h"
#include "platform/UIKit/ShownText.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace tq::test {
namespace {

TEST(JSONTexts, NumbersAreWrittenAsAPageWritesThem)
{
    using Limits = std::numeric_limits<double>;
    const auto text = [](double number) {
        std::string written;
        appendNumber(written, number);
        return written;
    };
    for (const auto& [number, expected] :
        std::initializer_list<std::pair<double, const char*>>{ { 1.5, "1.5" }, { 0.18865, "0.18865" }, { 3.0, "3" },
            { -3.0, "-3" }, { 0.0, "0" }, { -0.0, "0" }, { -0.5, "-0.5" }, { 1e20, "100000000000000000000" },
            { 1e21, "1e+21" }, { 123456789012345680000.0, "123456789012345680000" }, { -1.2345e21, "-1.2345e+21" },
            { 1e-6, "0.000001" }, { 1e-7, "1e-7" }, { 1.25e-7, "1.25e-7" }, { 0.1 + 0.2, "0.30000000000000004" },
            { 9007199254740992.0, "9007199254740992" }, { 9007199254740991.0, "9007199254740991" },
            { 2251799813685249.5, "2251799813685249.5" }, { Limits::max(), "1.7976931348623157e+308" },
            { Limits::denorm_min(), "5e-324" }, { Limits::min(), "2.2250738585072014e-308" }, { 100.25, "100.25" } })
        EXPECT_EQ(text(number), expected);

    std::mt19937_64 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
    for (int i = 0; i < 20000; ++i) {
        const auto number = std::bit_cast<double>(random());
        if (std::isfinite(number)) {
            EXPECT_EQ(std::strtod(text(number).c_str(), nullptr), number);
        }
    }
}

TEST(JSONTexts, AllThatIsWrittenHasTheSameNumbers)
{
    const boost::json::value value{ { "a", { 1.5, 3.0, -7, std::numeric_limits<std::uint64_t>::max() } } };
    constexpr const char* kText = R"({"a":[1.5,3,-7,18446744073709551615]})";
    EXPECT_EQ(NSJSONSerialization::dataWithJSONObject(value), kText);
    EXPECT_EQ(describe(OptionalValue(value)), kText);
    EXPECT_EQ(NSJSONSerialization::prettyDataWithJSONObject({ { "a", 0.5 } }), "{\n  \"a\" : 0.5\n}");
    // Where a text must come of it, null stands for what is no number in JSON.
    const boost::json::value infinite{ std::numeric_limits<double>::infinity() };
    EXPECT_EQ(writtenJSON(infinite), "[null]");
    EXPECT_EQ(NSJSONSerialization::dataWithJSONObject(infinite), std::nullopt);
    EXPECT_LT(writtenJSON(boost::json::value{ std::string(1 << 20, 'x') }, 100).size(), 200U);
}

// The log's reader, a person or a program, takes every line for the library's.
TEST(LogLines, ShowWhatWouldBreakThemOrTurnThemAround)
{
    for (const auto& [text, shown] : std::initializer_list<std::pair<std::string_view, const char*>>{
             { "a\n[TQ:Log] onRoomQuited", "a\\n[TQ:Log] onRoomQuited" }, { "\r\t\b\f\v", "\\r\\t\\b\\f\\u000b" },
             { "\x1b[2J", "\\u001b[2J" }, { "\x7f\xc2\x9b", "\\u007f\\u009b" },
             { std::string_view("a\0b", 3), "a\\u0000b" },
             { "\u2028\u2029\u202e\u2067", "\\u2028\\u2029\\u202e\\u2067" }, { "\xff\xc3(", "\uFFFD\uFFFD(" },
             { "joined：房间 \"é\" \\", "joined：房间 \"é\" \\" }, { "", "" } })
        EXPECT_EQ(logged(text), shown);
    EXPECT_EQ(logged(OptionalValue(boost::json::value{ "a\nb" })), R"(["a\nb"])");
    EXPECT_EQ(logged(OptionalValue("a\nb")), "a\\nb");
    EXPECT_EQ(logged(OptionalValue()), "(null)");
}

TEST(LogLines, AreCutWithAMark)
{
    const std::string large(15 << 20, 'x');
    for (const auto& line :
        { logged(large), logged(OptionalValue(large)), logged(OptionalValue({ { "a", large } })) }) {
        EXPECT_LT(line.size(), 5000U);
        EXPECT_TRUE(line.ends_with("… (cut)"));
    }
    // Not in the middle of a character.
    std::string characters;
    for (int i = 0; i < 2000; ++i)
        characters += "：";
    EXPECT_TRUE(isUTF8(logged("a" + characters)));
}

TEST(ShownTexts, ReadAsTheyAreWritten)
{
    const std::string marks = "\u0301\u0302\u0303\u0304\u0305\u0306\u0307\u0308";
    for (const auto& [text, shown] : std::initializer_list<std::pair<std::string, std::string>>{
             { "pay\u202E 001\u202C now\u2069 s\u00ADoft\uFEFF\u200B", "pay 001 now soft" },
             { "a\r\nb\rc\u2029d\ve\u0085f", "a\nb\nc\nd\ne\nf" },
             { std::string("a\tb\0\x1b\x9b\xff", 7) + "\uFFFC", "a b\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD" },
             { "a" + marks + "\u0309\u030A" + "b\u0309", "a" + marks + "b\u0309" }, { "a          b", "a        b" },
             { "\U0001F469\u200D\u200D\U0001F4BB", "\U0001F469\u200D\U0001F4BB" },
             { "نمی‌خواهم हिन्दी ภาษาไทย 日本語のテキスト Tiếng Việt",
                 "نمی‌خواهم हिन्दी ภาษาไทย 日本語のテキスト Tiếng "
                 "Việt" } })
        EXPECT_EQ(shownText(text, { 1500, 100 }), shown);
    EXPECT_EQ(shownText("one\r\ntwo\tthree\u2028four", { 200, 1 }), "one two three four");
    EXPECT_EQ(fieldText(std::string(5000, 'x')), std::string(1000, 'x'));
}

TEST(ShownTexts, AreCutWhereTheyWouldTakeTooLong)
{
    const std::string word(50, 'x');
    EXPECT_EQ(shownText(word + word, { 99, 9 }), word + "\u200B" + word.substr(1) + "…");
    EXPECT_EQ(shownText("a\nb\nc", { 99, 2 }), "a\nb…");
    // What begins a piece of another script counts for six; what is never shown is not read without end.
    EXPECT_EQ(shownText("aअaअaअ", { 14, 9 }), "aअaअ…");
    EXPECT_EQ(shownText("白板会议室", { 9, 9 }), "白板会议…");
    std::string hidden;
    for (int i = 0; i < 1000; ++i)
        hidden += "\u200B";
    EXPECT_EQ(shownText(hidden + "x", { 10, 1 }), "…");
    EXPECT_TRUE(isUTF8(shownText("é" + std::string(5000, 'x'), { 1, 1 })));
}

} // namespace
} // namespace tq::test
