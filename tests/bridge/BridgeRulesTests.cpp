#include "bridge/CallMessage.h"
#include "bridge/JSBUtil.h"
#include "bridge/PageAnswer.h"
#include "bridge/PercentEncoding.h"
#include "bridge/ScriptBatch.h"
#include "platform/Foundation/NSData.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"
#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/Unicode.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace tq::test {
namespace {

class Animal : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Animal", &NSObject::staticClass(),
            { { "name:", &Animal::name }, { "walk:done:", &Animal::walk }, { "walk::", &Animal::walk } });
        return table;
    }
    OptionalValue name(OptionalValue) { return std::nullopt; }
    void walk(OptionalValue, NSCompletion) { }
};

class Dog final : public Animal {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Dog", &Animal::staticClass(),
            { { "bark:", &Dog::bark }, { "name::", &Dog::rename }, { "name:", &Dog::bark } });
        return table;
    }
    OptionalValue bark(OptionalValue) { return std::nullopt; }
    void rename(OptionalValue, NSCompletion) { }
};

TEST(MethodTable, ListsTheMostDerivedClassFirstAndFindsTheFirstMatch)
{
    EXPECT_EQ(JSBUtil::allMethodFromClass(&Dog::staticClass()),
        (std::vector<std::string>{ "bark:", "name::", "name:", "name:", "walk:done:", "walk::" }));
    EXPECT_TRUE(JSBUtil::allMethodFromClass(nullptr).empty());
    EXPECT_EQ(JSBUtil::methodByNameArg(2, "walk", &Dog::staticClass()), OptionalText("walk:done:"));
    EXPECT_EQ(JSBUtil::methodByNameArg(1, "walk", &Dog::staticClass()), std::nullopt);
    EXPECT_EQ(JSBUtil::methodByNameArg(1, "name", nullptr), std::nullopt);

    // The fast look-up agrees with the list.
    for (const char* name : { "bark", "name", "walk", "", "name:" }) {
        const auto found = Dog::staticClass().candidates(name);
        EXPECT_EQ(found.sync ? OptionalText(found.sync->name()) : std::nullopt,
            JSBUtil::methodByNameArg(1, name, &Dog::staticClass()))
            << name;
        EXPECT_EQ(found.async ? OptionalText(found.async->name()) : std::nullopt,
            JSBUtil::methodByNameArg(2, name, &Dog::staticClass()))
            << name;
    }
    EXPECT_EQ(Dog::staticClass().candidates("name").sync, &Dog::staticClass().methods()[2]);
}

TEST(JsonTexts, WhatJsonCannotHoldBecomesAnEmptyObject)
{
    EXPECT_EQ(JSBUtil::objToJsonString({ { "a", { 1, nullptr, "x" } } }), R"({"a":[1,null,"x"]})");
    for (const boost::json::value& value : { boost::json::value("text"), boost::json::value(5),
             boost::json::value(nullptr), boost::json::value{ { "n", std::numeric_limits<double>::quiet_NaN() } },
             boost::json::value{ "\xFF" }, boost::json::value{ "\xED\xA0\x80" } })
        EXPECT_EQ(JSBUtil::objToJsonString(value), "{}");

    boost::json::value deep = boost::json::array{};
    for (int level = 0; level < 600; ++level)
        deep = boost::json::array{ std::move(deep) };
    EXPECT_EQ(JSBUtil::objToJsonString(deep), "{}");
    EXPECT_FALSE(JSBUtil::jsonStringToObject(std::nullopt));
    EXPECT_FALSE(JSBUtil::jsonStringToObject("null"));
    EXPECT_FALSE(JSBUtil::jsonStringToObject("{\"a\":\"\xFF\"}"));
    EXPECT_EQ(JSBUtil::jsonStringToObject("[1]"), OptionalValue(boost::json::array{ 1 }));
}

// Texts are taken in pieces of up to 48 bytes: every special one comes at every place of a piece.
TEST(JsonTexts, SpecialBytesAreFoundWhereverTheyStand)
{
    const std::vector<std::string> goodUnits{ "\"", "\\", "\n", "\x01", "\x1F", "\x7F", std::string(1, '\0'), "é", "漢",
        "กก", "가\u200B", "\uFFFF", "\U0010FFFF", "퟿" };
    const std::vector<std::string> badUnits{ "\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80",
        "\xE6\xBC", "\xE6(\xA2", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF" };
    for (const std::string filler : { "a", "漢" }) {
        std::string before;
        std::string after;
        for (int count = 0; count < 40; ++count)
            after += filler;
        for (int place = 0; place < 40; ++place, before += filler) {
            for (const auto& unit : goodUnits) {
                const auto text = std::string(before).append(unit).append(filler).append(unit);
                const boost::json::value value = { { text, { text, 1.5, -7, true, nullptr } } };
                EXPECT_EQ(boost::json::parse(JSBUtil::objToJsonString(value)), value) << text;
                EXPECT_EQ(JSBUtil::jsonStringToObject(boost::json::serialize(value)), OptionalValue(value)) << text;
            }
            for (const auto& unit : badUnits) {
                EXPECT_FALSE(isUTF8(before + unit)) << before << place;
                EXPECT_FALSE(isUTF8(std::string(before).append(unit).append(after))) << before << place;
            }
        }
    }
}

// Most messages come in one form and are read by a shorter way; a blank before one makes it go the long way.
TEST(CallMessages, ReadTheSameByEitherWay)
{
    const auto nested = [](int levels) {
        return "{\"data\":" + std::string(static_cast<std::size_t>(levels), '[')
            + std::string(static_cast<std::size_t>(levels), ']') + "}";
    };
    const std::vector<std::string> texts{ R"({"data":5})", R"({"data":-1.5e3})", R"({"data":null})",
        R"({"data":"漢\n"})", R"({"data":{"a":[1,{"b":"}"}]}})", R"({"data":5,"_dscbstub":"dscb1"})",
        R"({"data":null,"_dscbstub":"a.b$_9"})", R"({"data":5,"_dscbstub":""})", R"({"data":5,"_dscbstub":null})",
        R"({"data":5,"_dscbstub":7})", R"({"data":5,"_dscbstub":"d\u0061"})", R"({"data":5,"_dscbstub":"é"})",
        R"({"data":5,"_dscbstub":"a b"})", R"({"_dscbstub":"f","data":5})", R"({"data":5,"data":6})",
        R"({"data":5,"_dscbstub":"f","_dscbstub":"g"})", R"({"data":5,"other":1})", R"({"data":5} )", R"({"data":5}x)",
        R"({"data":5)", R"({"data":})", R"({"data":)", R"({"data":5,"_dscbstub":"f")", R"({"data":5,"_dscbstub":"f)",
        R"({"data":tru})", "{\"data\":\"\xFF\"}", "{\"data\":5,\"_dscbstub\":\"a\nb\"}", R"({})", "", "[1]",
        nested(511), nested(512), nested(513), nested(100000) };
    for (const auto& text : texts) {
        const auto message = CallMessage::read(text);
        const auto other = CallMessage::read(" " + text);
        EXPECT_EQ(message.data, other.data) << text;
        EXPECT_EQ(message.callbackName, other.callbackName) << text;
    }
    EXPECT_EQ(CallMessage::read(texts[5]).data, OptionalValue(5));
    EXPECT_EQ(CallMessage::read(texts[5]).callbackName, "dscb1");
    EXPECT_EQ(CallMessage::read(texts[9]).callbackName, "");
    EXPECT_FALSE(CallMessage::read(texts[2]).data);
    EXPECT_TRUE(CallMessage::read(nested(511)).data);
    EXPECT_FALSE(CallMessage::read(nested(512)).data);
    EXPECT_FALSE(CallMessage::read(std::nullopt).data);
}

TEST(PercentEncoding, EscapesWhatAScriptMustNotSee)
{
    EXPECT_EQ(percentEncoded("aZ09-_.!~*'()/?:@&=+$,; <é漢\x7F>"), "aZ09-_.!~*'()/?:@&=+$,; <é漢\x7F>");
    EXPECT_EQ(percentEncoded("%\"\\\n\r\x01"), "%25%22%5C%0A%0D%01");
    EXPECT_EQ(percentEncoded("\xC3("), "");
}

TEST(LooseReadings, TakeWhatIsThereAndStopAtTheLimitsOfTheirTypes)
{
    struct Row {
        const char* json;
        std::int64_t number;
        bool truth = true;
    };
    constexpr std::int64_t kTwoTo31 = std::int64_t{ 1 } << 31;
    const std::vector<Row> rows{ { "2.9", 2 }, { "-2.9", -2 }, { "0.5", 0 }, { "true", 1 }, { "null", 0, false },
        { "\"-12abc\"", -12 }, { "\" +7\"", 7 }, { "\"+-7\"", 0, false }, { "\"\"", 0, false }, { "\"2.9\"", 2 },
        { "\"yes\"", 0 }, { "\"00\"", 0, false }, { "{}", 0, false }, { "[1]", 0, false },
        { "\"99999999999999999999\"", INT64_MAX }, { "2147483647", kTwoTo31 - 1 }, { "2147483648", kTwoTo31 },
        { "-2147483648", -kTwoTo31 }, { "\"-2147483649\"", -kTwoTo31 - 1 }, { "4294967296", 2 * kTwoTo31 },
        { "-1e300", INT64_MIN }, { "18446744073709551615", INT64_MAX } };
    for (const auto& row : rows) {
        const auto value = boost::json::parse(row.json);
        EXPECT_EQ(longLongValue(&value), row.number) << row.json;
        EXPECT_EQ(boolValue(&value), row.truth) << row.json;
        EXPECT_EQ(intValue(&value), std::clamp<std::int64_t>(row.number, INT32_MIN, INT32_MAX)) << row.json;
        EXPECT_EQ(integerValue(&value), std::clamp<std::int64_t>(row.number, INTPTR_MIN, INTPTR_MAX)) << row.json;
    }
    EXPECT_EQ(longLongValue(nullptr), 0);
}

TEST(PageAnswers, AreForACallOfA32BitNumber)
{
    const auto read = [](const char* json) { return PageAnswer::read(JSBUtil::jsonStringToObject(json)); };
    EXPECT_EQ(read(R"({"id":-2147483648})")->id, INT32_MIN);
    EXPECT_EQ(read(R"({"id":2147483647.0})")->id, INT32_MAX);
    for (const char* json : { R"({"id":2147483648})", R"({"id":4294967296})", R"({"id":-2147483649})", R"({"id":1.5})",
             R"({"id":"1"})", R"({"id":true})", R"({"id":null})", "{}", "[1]", "" })
        EXPECT_FALSE(read(json)) << json;
    EXPECT_TRUE(read(R"({"id":1,"complete":1})")->isLast);
    EXPECT_FALSE(read(R"({"id":1,"data":null})")->data);
    EXPECT_EQ(read(R"({"id":1,"data":[null]})")->data, OptionalValue(boost::json::array{ nullptr }));
}

TEST(Base64, SkipsWhatIsNotOfItsAlphabet)
{
    EXPECT_EQ(bytesFromBase64("aGVs\r\nbG8="), "hello");
    EXPECT_EQ(bytesFromBase64(" a-G,V s b G 8 = "), "hello");
    EXPECT_EQ(bytesFromBase64("aGVsbG9v"), "helloo");
    EXPECT_EQ(bytesFromBase64("aGVsbA=="), "hell");
    EXPECT_EQ(bytesFromBase64(""), "");
    for (const char* text : { "aGVsbG8", "a", "aGVs=bG8", "====", "aGVsbA===" })
        EXPECT_EQ(bytesFromBase64(text), std::nullopt) << text;
}

TEST(BatchTest, FlushesAtOnceAfterAQuietSpellAndOncePerIntervalAfterwards)
{
    ScriptBatch batch;
    std::vector<std::int32_t> delays;
    const auto append = [&](std::uint64_t now, const char* script) {
        batch.append(script, now, [&](std::int32_t delay) { delays.push_back(delay); });
    };
    const auto flush = [&](std::uint64_t now) {
        std::string evaluated;
        batch.flush(now, [&](std::string_view script) { evaluated += script; });
        return evaluated;
    };
    append(10000, "a;");
    append(10000, "b;");
    EXPECT_EQ(flush(10000), "a;b;");
    for (int index = 0; index < 10; ++index)
        append(10010, "c;");
    EXPECT_EQ(delays, (std::vector{ 0, 50 }));
    EXPECT_EQ(flush(10060), "c;c;c;c;c;c;c;c;c;c;");
    // A clock that went back.
    append(5000, "d;");
    EXPECT_EQ(delays, (std::vector{ 0, 50, 0 }));
    EXPECT_EQ(flush(5000), "d;");
}

} // namespace
} // namespace tq::test
