#include "tests/support/Program.h"

#include <boost/json/serialize.hpp>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace tq::test {
namespace {

// The programs themselves: the client against the local service.
class ClientTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(folder / "conference" / "recordings");
        std::ofstream(folder / "conference" / "recordings" / "aRecording.json")
            << R"({"version":1,"room":"hall","duration":200,"strokes":[],"events":[]})";
        service = std::make_unique<Program>(std::vector<std::string>{ TQWB_CONFERENCE_BINARY, "--port", "0", "--state",
                                                folder / "conference", "--room-size", "1" },
            folder / "service.log");
        const auto ready = service->waitFor("ready");
        ASSERT_TRUE(ready.contains("host"));
        host = ready.at("host").as_string();
        authority = ready.at("ca").as_string();
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::unique_ptr<Program> start(std::vector<std::string> words)
    {
        words.insert(words.begin(), TQWB_CLIENT_BINARY);
        return std::make_unique<Program>(std::move(words), folder / ("client" + std::to_string(++clients) + ".log"),
            Program::Environment{ { "XDG_DATA_HOME", folder / "data" } });
    }
    std::vector<std::string> joinWords(const std::string& user, const std::string& token = "good") const
    {
        return { "join", "--app-key", "key", "--token", token + "@" + host, "--room", "hall", "--user", user, "--name",
            "Ann Λ", "--ca", authority };
    }
    long navigationsServed() const
    {
        long count = 0;
        const auto log = service->log();
        for (auto at = log.find("/config.json"); at != std::string::npos; at = log.find("/config.json", at + 1))
            ++count;
        return count;
    }

    std::filesystem::path folder = std::filesystem::path(getenv("XDG_DATA_HOME")) / "clients";
    std::unique_ptr<Program> service;
    std::string host;
    std::string authority;
    int clients = 0;
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
    auto words = joinWords("ann");
    words[0] = "play";
    words.insert(words.end(), { "--url", "https://" + host + "/recordings/aRecording.json" });
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

TEST_F(ClientTest, TheFirstProgramJoins)
{
    Program first({ TQWB_FIRST_PROGRAM_BINARY, "good@" + host, authority }, folder / "first.log");
    first.waitForLog("[TQ:Log] onLoadEnd");
}

} // namespace
} // namespace tq::test
