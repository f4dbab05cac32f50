// Rooms of the local conference service, whose certificate is signed by a private CA.

#include "tests/support/MainLoop.h"
#include "tests/support/Program.h"
#include "tests/support/TestWindow.h"

#include "TQWhiteBoardLib/TQWBRoom.h"
#include "platform/Foundation/NSURLSession.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>

namespace tq::test {
namespace {

using namespace std::chrono_literals;
using State = TQWBRoomState;

/// The service has room for one: each join proves that whoever was there before has left, or has gone without a word.
class ServiceRoomTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(folder);
        service = std::make_unique<Program>(std::vector<std::string>{ TQWB_CONFERENCE_BINARY, "--port", "0", "--state",
                                                folder / "conference", "--room-size", "1" },
            folder / "service.log");
        const auto ready = service->waitFor("ready");
        host = ready.at("host").as_string();
        std::ifstream file(std::string(ready.at("ca").as_string()));
        ASSERT_TRUE(NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            std::string(std::istreambuf_iterator<char>(file), {})));
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    void enter()
    {
        room.emplace(TQWBRoomOptions{ .frame = { 0, 0, 640, 360 } });
        room->setStateHandler([this](State, const TQWBError* reason) {
            why = reason ? std::string(nameOf(reason->category)) + ": " + reason->text : "";
        });
        watched = room->view();
        // The page says that it is there when it has been drawn.
        if (window)
            window->show(*room->view());
        else
            window.emplace(*room->view(), 640, 360);
        room->enter({ .appKey = "key", .token = "good@" + host, .roomId = "hall", .userId = "ann", .userName = "Ann" });
        runUntil(
            [this] { return room->state() == State::Shown || room->state() == State::Over; }, "shown or over", 120s);
    }
    void drop()
    {
        room.reset();
        runUntil([this] { return watched.expired(); }, "the view is destroyed");
    }

    const std::filesystem::path folder = std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "rooms";
    std::unique_ptr<Program> service;
    std::string host;
    std::optional<TestWindow> window;
    std::optional<TQWBRoom> room;
    std::string why;
    std::weak_ptr<TQWBWebView> watched;
};

// TQWB_JOINS asks for more than a quick run makes.
TEST_F(ServiceRoomTest, EveryJoinIsShown)
{
    const char* wanted = std::getenv("TQWB_JOINS");
    const int joins = wanted ? std::atoi(wanted) : 4;
    int shown = 0;
    for (int number = 0; number < joins; ++number) {
        enter();
        if (room->state() == State::Shown)
            ++shown;
        else
            ADD_FAILURE() << "join " << number << ": " << why;
        if (number % 2) {
            room->leave();
            runUntil([this] { return room->state() == State::Over; }, "the room is over");
            EXPECT_EQ(why, "");
        }
        drop();
    }
    std::cout << shown << " of " << joins << " rooms shown" << std::endl;
}

} // namespace
} // namespace tq::test
