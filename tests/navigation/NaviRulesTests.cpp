#include "TQWhiteBoardLib/TQWBNaviCode.h"
#include "navigation/NaviAddresses.h"
#include "navigation/NaviAnswer.h"
#include "navigation/NaviEntry.h"

#include <boost/json/parse.hpp>
#include <cstdint>
#include <gtest/gtest.h>

namespace tq::test {
namespace {

TEST(NaviAddresses, TokensAddressesComeBeforeTheDefaults)
{
    struct Row {
        OptionalText token;
        TextList added;
    };
    const std::vector<Row> rows{
        { std::nullopt, {} },
        { "abc", {} },
        { "abc@", {} },
        { "a@b@x.example;y.example", { "https://x.example/config.json", "https://y.example/config.json" } },
        { "a@x.example;;y.example;",
            { "https://x.example/config.json", "https://config.json", "https://y.example/config.json",
                "https://config.json" } },
        { "@http://x.example/", { "http://x.example/config.json" } },
        { "@httpfoo.example", { "httpfoo.example/config.json" } },
        { "@x.example/a/config.json;x.example",
            { "https://x.example/a/config.json", "https://x.example/config.json" } },
    };
    const TextList defaults{ "https://d.example/whiteboard/config.json", "e.example/x/", "" };
    const TextList normalised{ "https://d.example/whiteboard/config.json", "https://e.example/x/config.json" };
    for (const auto& row : rows) {
        auto expected = row.added;
        expected.insert(expected.end(), normalised.begin(), normalised.end());
        EXPECT_EQ(allNaviServers(row.token, defaults), expected) << row.token.value_or("(absent)");
        EXPECT_EQ(allNaviServers(row.token, std::nullopt), std::nullopt);
    }
    EXPECT_EQ(allNaviServers(std::nullopt, TextList{}), std::nullopt);
    EXPECT_EQ(allNaviServers("@x.example", TextList{}), (TextList{ "https://x.example/config.json" }));
}

TEST(NaviAnswers, EveryOneHasItsCodeAndTexts)
{
    struct Row {
        int status;
        std::string body;
        NSUInteger code;
        std::string description;
    };
    for (const auto& [status, body, code, description] : std::vector<Row>{
             { 401, R"({"code":403})", 100010, "code = 403, responseCode = 401." },
             { 403, R"({"code":"401"})", 100010, "code = 401, responseCode = 403." },
             { 401, R"({"code":401})", 300003, "responseCode = 401." },
             { 500, "\xFF\xFE", 300003, "responseCode = 500." },
             { 201, R"({"iwbLeaseUri":"x","iwbConferenceUri":"x"})", 300003, "responseCode = 201." },
             { 200, "", 300004, "code = 0, responseCode = 200." },
             { 200, R"({"code":-7,"iwbLeaseUri":"x"})", 300004, "code = -7, responseCode = 200." },
             { 200, R"({"code":9,"iwbConferenceUri":"x"})", 300004, "code = 9, responseCode = 200." },
         }) {
        const auto answer = NaviAnswer::read(body, status);
        EXPECT_FALSE(answer.good) << description;
        EXPECT_EQ(answer.code, code) << description;
        EXPECT_EQ(answer.body, status == 500 ? std::nullopt : OptionalText(body));
        EXPECT_EQ(answer.description, description);
    }
}

// Numbers of the machine word: what does not fit is the nearest that does.
TEST(NaviAnswers, CodesAreReadAsMachineWords)
{
    static_assert(sizeof(TQWBNaviCode) == sizeof(void*));
    EXPECT_EQ(TQWBNaviCodeInvalidUrl, UINTPTR_MAX);
    const auto described = [](NSInteger code) { return "code = " + std::to_string(code) + ", responseCode = 200."; };
    EXPECT_EQ(NaviAnswer::read(R"({"code":1e30})", 200).description, described(INTPTR_MAX));
    EXPECT_EQ(NaviAnswer::read(R"({"code":-1e30})", 200).description, described(INTPTR_MIN));
    EXPECT_EQ(NaviAnswer::read(R"({"code":"-7x"})", 200).description, described(-7));
    // 2 to the 32nd and 401: no refusal, wherever it is cut off.
    EXPECT_EQ(NaviAnswer::read(R"({"code":4294967697})", 403).code, TQWBNaviCodeRequestFailed);
    EXPECT_EQ(NaviAnswer::read(R"({"code":401})", 403).code, TQWBNaviCodeUnauthorized);
}

TEST(NaviEntries, LastTwoHoursAndKeepTheTimeInFullOnEveryMachine)
{
    constexpr std::int64_t kNow = 5'000'000'000;
    const auto entry
        = naviEntry(*NaviAnswer::read(R"({"iwbLeaseUri":"l","iwbConferenceUri":5,"code":7e9})", 200).good, kNow);
    EXPECT_FALSE(isNaviEntryStale(entry, kNow + kNaviLifetimeSeconds));
    EXPECT_TRUE(isNaviEntryStale(entry, kNow + kNaviLifetimeSeconds + 1));
    // Of any number at all, and from the future.
    for (const std::int64_t now : { INT64_MIN + kNaviLifetimeSeconds, kNow - 1, std::int64_t{ 0 } })
        EXPECT_FALSE(isNaviEntryStale(entry, now));
    EXPECT_FALSE(isNaviEntryStale(naviEntry({}, INT64_MAX), kNow));
    EXPECT_TRUE(isNaviEntryStale(naviEntry({}, INT64_MIN), kNow));
    const auto isStale = [](const char* json) { return isNaviEntryStale(boost::json::parse(json).as_object(), kNow); };
    EXPECT_FALSE(isStale(R"({"TQWB-timestamp":9e99})"));
    EXPECT_FALSE(isStale(R"({"TQWB-timestamp":"9999999999"})"));
    EXPECT_TRUE(isStale(R"({"TQWB-timestamp":[]})"));
    EXPECT_TRUE(isStale(R"({"TQWB-timestamp":-9223372036854775808})"));
    EXPECT_EQ(naviDataOfEntry({ { "TQWB-navi-data", 7 } })->iwbLeaseUri, std::nullopt);
    EXPECT_EQ(naviDataOfEntry({})->iwbLeaseUri, std::nullopt);

    EXPECT_EQ(naviTimestamp(1000.9, 0), 1000);
    EXPECT_EQ(naviTimestamp(1000.9, 3600), -2599);
    EXPECT_EQ(naviTimestamp(1000.9, -3600), 4600);

    const auto data = naviDataOfEntry(entry);
    EXPECT_EQ(data->code, INT32_MAX);
    EXPECT_EQ(data->iwbLeaseUri, "l");
    EXPECT_EQ(data->iwbConferenceUri, std::nullopt);
}

} // namespace
} // namespace tq::test
