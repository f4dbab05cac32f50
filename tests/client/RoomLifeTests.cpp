#include "ClientPrograms.h"

#include <boost/json/serialize.hpp>
#include <chrono>

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

class RoomLifeTest : public ServiceTest {
protected:
    RoomLifeTest()
        : ServiceTest(4)
    {
    }
};

TEST_F(RoomLifeTest, ARecordingReplaysWhatWasDrawnInItsOwnTime)
{
    auto ann = joined("ann");
    auto bob = joined("bob");
    // What is there already is part of it.
    EXPECT_EQ(draw(*ann, { stroke("red", 0.1) }), 1);
    const auto before = call(*ann, "board.strokes");
    ann->write("call room.record [true]");
    ann->waitFor("onWBRecordStart");
    const auto recording = Clock::now();
    // Long enough to tell a replay's pace from none, and within the rate that the service allows.
    for (int count = 0; count < 50 && millisecondsSince(recording) < 400; ++count) {
        EXPECT_EQ(draw(*ann, { stroke("blue", 0.2), stroke("green", 0.3) }), 2);
        EXPECT_EQ(draw(*bob, { stroke("ink", 0.4) }), 1);
    }
    const auto shortest = millisecondsSince(recording);
    ann->write("call room.record [false]");
    const std::string url(ann->waitFor("onWBRecordEnd").at("url").as_string());
    EXPECT_EQ(bob->waitFor("onWBRecordEnd").at("url").as_string(), url);
    const auto after = call(*ann, "board.strokes");
    ASSERT_GE(after.as_array().size(), 4U);

    auto words = joinWords("zoe");
    words[0] = "play";
    words.insert(words.end(), { "--url", url });
    auto zoe = start(words);
    zoe->waitFor("success", "play");
    const auto opened = call(*zoe, "player.pause");
    const auto duration = opened.at("duration").as_int64();
    EXPECT_GE(duration, shortest);
    call(*zoe, "player.seek", { 0 });
    EXPECT_EQ(call(*zoe, "board.strokes"), before);
    call(*zoe, "player.seek", { duration });
    EXPECT_EQ(call(*zoe, "board.strokes"), after);
    // Nobody changes a recording.
    EXPECT_TRUE(call(*zoe, "board.clear").as_object().contains("error"));

    call(*zoe, "player.seek", { 0 });
    const auto started = Clock::now();
    auto state = call(*zoe, "player.play").as_object();
    while (state.at("isPlaying") == true && millisecondsSince(started) < 60000) {
        EXPECT_LE(state.at("position").as_int64(), millisecondsSince(started) + 1);
        state = call(*zoe, "player.state").as_object();
    }
    EXPECT_EQ(state.at("position"), duration);
    EXPECT_GE(millisecondsSince(started) + 1, duration);
    EXPECT_EQ(call(*zoe, "board.strokes"), after);
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
    // Compilers differ on a list in braces that holds one list.
    array arguments;
    arguments.push_back(
        array{ object{ { "color", "red" }, { "width", 5 }, { "points", points } }, stroke("blue", 0.2) });
    const auto strokes = boost::json::serialize(arguments);
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
}

} // namespace
} // namespace tq::test
