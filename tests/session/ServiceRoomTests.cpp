// Rooms of the local conference service, whose certificate is signed by an authority of its own.

#include "tests/support/MainLoop.h"
#include "tests/support/Program.h"

#include "TQWhiteBoardLib/TQWBRoom.h"
#include "platform/Foundation/NSURLSession.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <webkit/webkit.h>

namespace tq::test {
namespace {

using namespace std::chrono_literals;
using State = TQWBRoomState;

// TQWB_JOINS asks for more than a quick run makes.
int joins()
{
    const char* text = std::getenv("TQWB_JOINS");
    return text ? std::atoi(text) : 10;
}

/// The service has room for one: whoever comes next proves that the one before has left.
class ServiceRoomTest : public testing::Test {
protected:
    void SetUp() override
    {
        gtk_init();
        window = gtk_window_new();
        gtk_window_set_default_size(GTK_WINDOW(window), 640, 360);
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
    void TearDown() override
    {
        gtk_window_destroy(GTK_WINDOW(window));
        std::filesystem::remove_all(folder);
    }

    std::unique_ptr<TQWBRoom> enter(const std::string& user)
    {
        auto room = std::make_unique<TQWBRoom>(options);
        room->setStateHandler([this](State state, const TQWBError* reason) {
            ++times[state];
            why = reason ? std::string(nameOf(reason->category)) + ": " + reason->text : "";
        });
        watched = room->view();
        // The page says that it is there when it has been drawn.
        gtk_window_set_child(GTK_WINDOW(window), static_cast<GtkWidget*>(room->view()->nativeHandle()));
        gtk_window_present(GTK_WINDOW(window));
        room->enter({ .appKey = "key", .token = "good@" + host, .roomId = "hall", .userId = user, .userName = user });
        return room;
    }
    bool isShown(TQWBRoom& room)
    {
        runUntil([&] { return room.state() == State::Shown || room.state() == State::Over; }, "shown or over", 120s);
        return room.state() == State::Shown;
    }
    void waitForEnd(const TQWBRoom& room)
    {
        runUntil([&] { return room.state() == State::Over; }, "the room is over");
        EXPECT_EQ(why, "");
    }

    const std::filesystem::path folder = std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "rooms";
    GtkWidget* window = nullptr;
    std::unique_ptr<Program> service;
    std::string host;
    TQWBRoomOptions options{ .frame = { 0, 0, 640, 360 } };
    std::map<State, int> times;
    std::string why;
    std::weak_ptr<TQWBWebView> watched;
};

TEST_F(ServiceRoomTest, EveryJoinIsShown)
{
    int shown = 0;
    for (int number = 0; number < joins(); ++number) {
        auto room = enter("user" + std::to_string(number));
        if (!isShown(*room)) {
            ADD_FAILURE() << "join " << number << ": " << why;
            continue;
        }
        ++shown;
        room->leave();
        waitForEnd(*room);
        room.reset();
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
    std::cout << shown << " of " << joins() << " rooms shown" << std::endl;
    EXPECT_EQ(shown, joins());
}

TEST_F(ServiceRoomTest, WhoIsDroppedHasLeft)
{
    int number = 0;
    for (const auto last : { State::Finding, State::Joining, State::Loading, State::Shown, State::Reconnecting }) {
        SCOPED_TRACE(nameOf(last));
        for (int round = 0; round < 3; ++round) {
            times.clear();
            auto room = enter("user" + std::to_string(++number));
            runUntil([&] { return times[std::min(last, State::Shown)] || times[State::Over]; }, "the room is there");
            if (last == State::Reconnecting) {
                auto* widget = static_cast<GtkWidget*>(room->view()->nativeHandle());
                webkit_web_view_terminate_web_process(WEBKIT_WEB_VIEW(gtk_overlay_get_child(GTK_OVERLAY(widget))));
                runUntil([&] { return times[last] > 0; }, "the room is coming back");
            }
            ASSERT_FALSE(times[State::Over]) << why;
            room.reset();
            runUntil([&] { return watched.expired(); }, "the view is destroyed");
            // Nobody else waits for this one's way out: the first may find the room still full.
            const auto other = "other" + std::to_string(number);
            for (int tries = 0; tries < 100 && (!room || room->state() != State::Shown); ++tries) {
                room = enter(other);
                isShown(*room);
            }
            ASSERT_EQ(room->state(), State::Shown) << why;
            room->leave();
            waitForEnd(*room);
        }
    }
}

} // namespace
} // namespace tq::test
