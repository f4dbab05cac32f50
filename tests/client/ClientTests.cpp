#include "ClientPrograms.h"

#include <boost/json/serialize.hpp>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>

namespace tq::test {
namespace {

class ClientTest : public ServiceTest {
protected:
    ClientTest()
        : ServiceTest(1)
    {
    }
};

// The room has one place: each join proves that whoever was there before has left. TQWB_JOINS asks for more than a
// quick run makes.
TEST_F(ClientTest, EveryJoinIsShown)
{
    const char* wanted = std::getenv("TQWB_JOINS");
    const int joins = wanted ? std::atoi(wanted) : 2;
    int shown = 0;
    auto client = start(joinWords("ann"));
    while (!client->waitFor("room", { { "state", "shown" } }).empty() && ++shown < joins) {
        client->write("quit");
        client->waitFor("success", "quit");
        client->write("join");
    }
    std::cout << shown << " of " << joins << " rooms shown" << std::endl;

    const auto refusal = start(joinWords("bob"))->waitFor("error", "join");
    EXPECT_EQ(refusal.at("code"), 4001);
    EXPECT_EQ(refusal.at("text"), "room full");
    client->write("quit");
    client->waitFor("onWBRoomQuit"); // the page has its say before the room is let go of
    client->waitFor("success", "quit");
    client->write("quit");
    EXPECT_EQ(client->waitFor("error", "quit").at("code"), 300001);
    EXPECT_EQ(client->end(SIGTERM), 0);
    EXPECT_EQ(service->end(SIGTERM), 0);
}

TEST_F(ClientTest, WhatCannotBeDoneIsReported)
{
    const auto incomplete = start({ "join", "--app-key", "key" })->waitFor("error", "join");
    EXPECT_EQ(boost::json::serialize(incomplete),
        R"({"event":"error","operation":"join","code":300002,"text":"config is invalid"})");
    for (const auto& words : { Words{ "dance" }, { "join", "--ca", "/nowhere" } }) {
        auto client = start(words);
        EXPECT_EQ(client->end(), 2);
        EXPECT_NE(client->log().find(words.back()), std::string::npos) << client->log();
    }
}

} // namespace
} // namespace tq::test
