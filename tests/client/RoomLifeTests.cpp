#include "ClientPrograms.h"

#include <boost/json/serialize.hpp>
#include <chrono>
#include <curl/curl.h>

namespace tq::test {
namespace {

using boost::json::array;
using boost::json::object;
using boost::json::value;
using Clock = std::chrono::steady_clock;

std::int64_t millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

object stroke(const char* color, double height)
{
    return { { "color", color }, { "width", 5 }, { "points", { 0.1, height, 0.3, 1 - height, 0.9, height } } };
}

value draw(Program& client, const array& strokes)
{
    return ClientPrograms::call(client, "board.draw", array(1, strokes));
}

// As a service's own console would: takes the user out of the room.
long removeUser(const std::string& host, const std::string& authority, const std::string& user)
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> request(curl_easy_init(), curl_easy_cleanup);
    auto* headers = curl_slist_append(nullptr, "Content-Type: application/json");
    headers = curl_slist_append(headers, "TQ-AppKey: key");
    headers = curl_slist_append(headers, ("TQ-Token: good@" + host).c_str());
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> owned(headers, curl_slist_free_all);
    const auto url = "https://" + host + "/api/v1/iwb/hubs/hall/users/" + user;
    auto ignore = +[](char*, std::size_t size, std::size_t count, void*) { return size * count; };
    curl_easy_setopt(request.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(request.get(), CURLOPT_CUSTOMREQUEST, "DELETE");
    curl_easy_setopt(request.get(), CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(request.get(), CURLOPT_CAINFO, authority.c_str());
    curl_easy_setopt(request.get(), CURLOPT_WRITEFUNCTION, ignore);
    curl_easy_setopt(request.get(), CURLOPT_TIMEOUT, 30L);
    long status = 0;
    curl_easy_perform(request.get());
    curl_easy_getinfo(request.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

class RoomLifeTest : public ServiceTest {
protected:
    RoomLifeTest()
        : ServiceTest(4)
    {
    }

    struct Recorded {
        std::string url;
        array before;
        array after;
        // What the recording's duration must lie between, in milliseconds.
        std::int64_t shortest = 0;
        std::int64_t longest = 0;
    };
    // Records strokes of two presenters, on top of one that is there already.
    static Recorded record(Program& ann, Program& bob)
    {
        Recorded made;
        EXPECT_EQ(draw(ann, { stroke("red", 0.1) }), 1);
        made.before = call(ann, "board.strokes").as_array();
        const auto asked = Clock::now();
        ann.write("call room.record [true]");
        ann.waitFor("onWBRecordStart");
        const auto started = Clock::now();
        // Long enough to tell a replay's pace from none, and within the rate that the service allows.
        for (int count = 0; count < 50 && millisecondsSince(started) < 400; ++count) {
            EXPECT_EQ(draw(ann, { stroke("blue", 0.2), stroke("green", 0.3) }), 2);
            EXPECT_EQ(draw(bob, { stroke("ink", 0.4) }), 1);
        }
        made.shortest = millisecondsSince(started);
        ann.write("call room.record [false]");
        const auto ended = ann.waitFor("onWBRecordEnd");
        made.longest = millisecondsSince(asked) + 1;
        made.url = ended.at("url").as_string();
        made.after = call(ann, "board.strokes").as_array();
        return made;
    }
};

TEST_F(RoomLifeTest, ARecordingReplaysWhatWasDrawnInItsOwnTime)
{
    auto ann = joined("ann");
    auto bob = joined("bob");
    const auto made = record(*ann, *bob);
    EXPECT_EQ(bob->waitFor("onWBRecordEnd").at("url").as_string(), made.url);
    ASSERT_GE(made.after.size(), made.before.size() + 3);

    auto zoe = start(playWords("zoe", made.url));
    zoe->waitFor("success", "play");
    const auto opened = call(*zoe, "player.pause");
    const auto duration = opened.at("duration").as_int64();
    EXPECT_GE(duration, made.shortest);
    EXPECT_LE(duration, made.longest);
    EXPECT_EQ(opened.at("isPlaying"), false);
    call(*zoe, "player.seek", { 0 });
    EXPECT_EQ(call(*zoe, "board.strokes"), value(made.before));
    call(*zoe, "player.seek", { duration });
    EXPECT_EQ(call(*zoe, "board.strokes"), value(made.after));
    // Nobody changes a recording.
    EXPECT_TRUE(call(*zoe, "board.clear").as_object().contains("error"));

    call(*zoe, "player.seek", { 0 });
    const auto started = Clock::now();
    std::int64_t position = 0;
    auto state = call(*zoe, "player.play").as_object();
    while (state.at("isPlaying") == true && millisecondsSince(started) < 60000) {
        EXPECT_GE(state.at("position").as_int64(), position);
        position = state.at("position").as_int64();
        EXPECT_LE(position, millisecondsSince(started) + 1);
        state = call(*zoe, "player.state").as_object();
    }
    EXPECT_EQ(state.at("position"), duration);
    EXPECT_GE(millisecondsSince(started) + 1, duration);
    EXPECT_EQ(call(*zoe, "board.strokes"), value(made.after));
}

TEST_F(RoomLifeTest, StrokesOnTheirWayDuringAClearingStayWholeForEverybody)
{
    auto ann = joined("ann");
    auto bob = joined("bob");
    array points;
    for (int number = 0; number < 4000; ++number) {
        points.emplace_back(number / 4000.0);
        points.emplace_back(0.5);
    }
    const auto strokes = boost::json::serialize(
        array{ array{ object{ { "color", "red" }, { "width", 5 }, { "points", points } }, stroke("blue", 0.2) } });
    // The page draws before the room has told it of the clearing, at the latest in one of these rounds.
    for (int round = 0; round < 10; ++round) {
        ann->write("call board.clear");
        ann->write("call board.draw " + strokes);
        EXPECT_EQ(ann->waitFor("result", { { "call", "board.draw" } })["value"], 2);
        EXPECT_EQ(draw(*bob, { stroke("green", 0.3) }), 1); // comes after ann's, also to her
        const auto seen = call(*bob, "board.strokes").as_array();
        ASSERT_EQ(seen.size(), 3U);
        EXPECT_EQ(seen[0].at("points").as_array().size(), points.size());
        EXPECT_EQ(draw(*ann, { stroke("ink", 0.4) }), 1); // comes after bob's
        auto own = call(*ann, "board.strokes").as_array();
        own.pop_back();
        EXPECT_TRUE(own == seen) << "round " << round << ": " << own.size() << " strokes, the first of "
                                 << own.at(0).at("points").as_array().size() << " numbers";
    }
}

TEST_F(RoomLifeTest, TheRoomsEventsReachTheOutput)
{
    auto ann = joined("ann");
    ann->write("call room.events");
    ann->write("call board.capture");
    const auto picture = ann->waitFor("onWBCaptureEnd");
    EXPECT_EQ(picture.at("width"), 1920);
    EXPECT_EQ(picture.at("height"), 1080);

    auto words = joinWords("bob");
    words.insert(words.end(), { "--role", "1" });
    auto bob = start(words);
    EXPECT_EQ(bob->waitFor("onWBPermissionChange").at("status"), 2);
    EXPECT_EQ(ann->waitFor("result", { { "call", "room.events" } }).at("value"),
        value({ { "type", "join" }, { "uid", "bob" }, { "name", "Ann Λ" }, { "role", "viewer" } }));
    bob->waitForLog("[TQ:Log] onLoadEnd");
    EXPECT_TRUE(draw(*bob, { stroke("red", 0.1) }).as_object().contains("error"));

    // The same user in a second place ends the first one's room.
    auto second = joined("ann");
    const auto failure = ann->waitFor("onWBRoomException");
    EXPECT_EQ(failure.at("code"), 4091);
    EXPECT_EQ(failure.at("msg"), "the same user has entered the room from another place");
    ann->write("exists board.draw");
    ann->waitForLog("exists: there is no board on the screen");

    EXPECT_EQ(removeUser(host, authority, "bob"), 200);
    bob->waitFor("onWBRoomQuit");
    // A room that has ended can be entered again.
    bob->write("join");
    bob->waitFor("success", "join");
    EXPECT_EQ(bob->waitFor("onWBPermissionChange").at("status"), 2);
}

} // namespace
} // namespace tq::test
