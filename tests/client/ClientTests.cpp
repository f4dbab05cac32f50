#include "ClientPrograms.h"

#include <boost/json/serialize.hpp>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace tq::test {
namespace {

class ClientTest : public ServiceTest {
protected:
    ClientTest()
        : ServiceTest(1)
    {
    }
    void SetUp() override
    {
        std::filesystem::create_directories(folder / "conference" / "recordings");
        std::ofstream(folder / "conference" / "recordings" / "aRecording.json")
            << R"({"version":1,"room":"hall","duration":200,"strokes":[],"events":[]})";
        ServiceTest::SetUp();
    }
    long navigationsServed() const
    {
        long count = 0;
        const auto log = service->log();
        for (auto at = log.find("/config.json"); at != std::string::npos; at = log.find("/config.json", at + 1))
            ++count;
        return count;
    }
};

TEST_F(ClientTest, JoinsQuitsAndJoinsAgainWithoutNavigation)
{
    auto client = start(joinWords("ann"));
    client->waitFor("success", "join");
    EXPECT_EQ(client->waitFor("onWBPermissionChange").at("status"), 1);
    client->waitForLog("[TQ:Log] onLoadEnd");
    EXPECT_EQ(navigationsServed(), 1);

    const auto picture = (folder / "board.png").string();
    client->write("screenshot " + picture);
    EXPECT_EQ(client->waitFor("screenshot").at("path"), boost::json::string(picture));
    EXPECT_GT(std::filesystem::file_size(picture), 1000U);

    // The room has one place, and it is taken.
    auto other = start(joinWords("bob"));
    const auto refusal = other->waitFor("error", "join");
    EXPECT_EQ(refusal.at("code"), 4001);
    EXPECT_EQ(refusal.at("text"), "room full");
    EXPECT_EQ(navigationsServed(), 1);

    client->write("quit");
    client->waitFor("onWBRoomQuit"); // the page has its say before the room is let go of
    client->waitFor("success", "quit");
    client->write("quit");
    EXPECT_EQ(client->waitFor("error", "quit").at("code"), 300001);
    client->write("nonsense");
    client->write("join");
    client->waitFor("success", "join");
    EXPECT_EQ(navigationsServed(), 1);
    EXPECT_NE(client->log().find("nonsense"), std::string::npos);
    client->write("exit");
    EXPECT_EQ(client->end(), 0);
    EXPECT_EQ(other->end(SIGTERM), 0);
    EXPECT_EQ(service->end(SIGTERM), 0);
}

TEST_F(ClientTest, ReplaysARecording)
{
    auto words = playWords("ann", "https://" + host + "/recordings/aRecording.json");
    auto client = start(words);
    client->waitFor("success", "play");
    client->waitForLog("[TQ:Log] onLoadEnd");
    client->write("quit");
    EXPECT_EQ(client->waitFor("error", "quit").at("code"), 300010);

    words.back() = "https://" + host + "/recordings/none.json";
    auto other = start(words);
    EXPECT_EQ(other->waitFor("error", "play").at("code"), 4004);
}

TEST_F(ClientTest, FailuresAreReportedWithCodeAndText)
{
    auto refused = start(joinWords("ann", "wrong"))->waitFor("error", "join");
    EXPECT_EQ(refused.at("code"), 100010);
    EXPECT_EQ(refused.at("text"), "code = 403, responseCode = 401.");

    auto incomplete = start({ "join", "--app-key", "key" })->waitFor("error", "join");
    EXPECT_EQ(boost::json::serialize(incomplete),
        R"({"event":"error","operation":"join","code":300002,"text":"config is invalid"})");

    // Without the service's authority nobody believes its certificate.
    auto words = joinWords("ann");
    words.resize(words.size() - 2);
    EXPECT_EQ(start(words)->waitFor("error", "join").at("code"), 300003);
}

TEST_F(ClientTest, WrongOptionsEndTheProgramWithAMessage)
{
    for (const auto& words : std::vector<std::vector<std::string>>{ { "dance" }, { "join", "--minutes", "many" },
             { "join", "--ca", "/nowhere" }, { "play", "--token" }, { "join", "--size", "0x0" } }) {
        auto client = start(words);
        EXPECT_EQ(client->end(), 2);
        EXPECT_NE(client->log().find(words.size() > 1 ? words[1] : words[0]), std::string::npos) << client->log();
    }
}

} // namespace
} // namespace tq::test
