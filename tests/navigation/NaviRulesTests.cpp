#include "navigation/NaviAddresses.h"
#include "navigation/NaviAge.h"

#include <gtest/gtest.h>
#include <limits>

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

TEST(NaviAge, AnswersLastTwoHours)
{
    constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();
    EXPECT_FALSE(isNaviStale(10000, 2800));
    EXPECT_TRUE(isNaviStale(10000, 2799));
    EXPECT_FALSE(isNaviStale(10000, 20000));
    EXPECT_FALSE(isNaviStale(10000, kHighest));
    EXPECT_TRUE(isNaviStale(10000, kLowest));

    EXPECT_EQ(naviTimestamp(1000.9, 0), 1000);
    EXPECT_EQ(naviTimestamp(1000.9, 3600), -2599);
    EXPECT_EQ(naviTimestamp(1000.9, -3600), 4600);
}

} // namespace
} // namespace tq::test
