#include "TQWhiteBoardLib/Coroutines.h"

#include "TQWhiteBoardLib/testing/TQWBFakeRoom.h"
#include "tests/support/PageTest.h"
#include "tests/support/SessionTest.h"

#include <stdexcept>
#include <thread>

namespace tq::test {
namespace {

using Texts = std::vector<std::string>;
using Taker = std::shared_ptr<ResultTaker<int>>;

// Coroutines that wait for a number which the test gives them.
class CoroutineTest : public testing::Test {
protected:
    void SetUp() override { clearLog(); }

    Operation<int> number()
    {
        return { [this](const Taker& newTaker) { taker = newTaker; }, -1 };
    }
    Task<int> twice()
    {
        const auto held = frame;
        co_return 2 * co_await number();
    }
    Task<> keepTwice()
    {
        const auto held = frame;
        received = co_await twice();
    }
    /// Gives the number on another thread, where the last reference to the taker goes, too.
    std::jthread giveLater(int value)
    {
        return std::jthread([given = std::move(taker), value] { given->take(value); });
    }

    // How many frames of coroutines there are: each holds this.
    long frames() const { return frame.use_count() - 1; }

    Taker taker;
    std::shared_ptr<int> frame = std::make_shared<int>();
    std::optional<int> received;
};

TEST_F(CoroutineTest, ItGoesOnWithTheFirstResultOnTheMainThread)
{
    const auto task = keepTwice();
    EXPECT_EQ(frames(), 2) << "it starts at once";
    taker->take(4);
    taker->take(5);
    EXPECT_FALSE(received) << "nothing goes on within a callback";
    runPending();
    EXPECT_EQ(received, 8);
    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(frames(), 0);

    const auto other = keepTwice();
    giveLater(6).join();
    EXPECT_EQ(received, 8);
    runUntil([&] { return other.isDone(); }, "the number has come from its thread");
    EXPECT_EQ(received, 12);

    keepTwice().detach();
    taker->take(3);
    runPending();
    EXPECT_EQ(received, 6) << "with nobody who holds it";
    EXPECT_EQ(frames(), 0);
}

TEST_F(CoroutineTest, CallbacksThatGoWithoutAResultLeaveNobodyWaiting)
{
    const auto task = keepTwice();
    taker.reset();
    runPending();
    EXPECT_EQ(received, -2);
    EXPECT_TRUE(task.isDone());
}

TEST_F(CoroutineTest, AnAbandonedOneIsNeverTouchedAgain)
{
    { // while the result is still to come, on another thread
        auto task = std::optional(keepTwice());
        task.reset();
        EXPECT_EQ(frames(), 0);
        giveLater(1).join();
    }
    { // while another takes its place
        auto task = keepTwice();
        giveLater(1).join();
        task = keepTwice();
        EXPECT_EQ(frames(), 2);
    }
    runPending();
    EXPECT_FALSE(received);
    { // at whatever moment
        for (int round = 0; round < 500; ++round) {
            auto task = std::optional(keepTwice());
            const auto thread = giveLater(round);
            if (round % 2)
                runPending();
            task.reset();
        }
        runPending();
    }
    EXPECT_EQ(frames(), 0);
    EXPECT_EQ(logLines(), std::vector<std::string>());
}

TEST_F(CoroutineTest, ItMayLetGoOfItsOwnTask)
{
    std::optional<Task<>> task;
    int steps = 0;
    const auto letGo = [&](bool goesOn) -> Task<> {
        const auto held = frame;
        co_await number();
        task.reset();
        ++steps; // still running
        if (goesOn)
            co_await number();
        steps += 10;
    };
    const auto outer = [&]() -> Task<> {
        const auto held = frame;
        co_await letGo(true);
        steps += 10;
    };
    // It goes where it would have waited, at its end, or with the one that awaits it.
    for (const auto& [start, after] : std::vector<std::pair<std::function<Task<>()>, int>>{
             { [&] { return letGo(true); }, 1 }, { [&] { return letGo(false); }, 11 }, { outer, 1 } }) {
        steps = 0;
        task.emplace(start());
        taker->take(1);
        runPending();
        EXPECT_EQ(steps, after);
        EXPECT_EQ(frames(), 0);
    }
}

TEST_F(CoroutineTest, ExceptionsReachWhoAwaitsElseTheLog)
{
    const auto fail = [&](bool atOnce) -> Task<int> {
        if (!atOnce)
            co_await number();
        throw std::runtime_error("on purpose");
    };
    std::string caught;
    const auto awaitFailure = [&](bool atOnce) -> Task<> {
        try {
            co_await fail(atOnce);
        } catch (const std::runtime_error& error) {
            caught += error.what();
        }
    };
    const auto first = awaitFailure(true);
    EXPECT_EQ(caught, "on purpose");
    const auto second = awaitFailure(false);
    taker->take(1);
    runPending();
    EXPECT_EQ(caught, "on purposeon purpose");
    EXPECT_EQ(countOfLine("on purpose"), 0);
    EXPECT_TRUE(fail(true).isDone());
    EXPECT_EQ(countOfLine("on purpose"), 1);
    fail(false).detach();
    taker->take(1);
    runPending();
    EXPECT_EQ(countOfLine("on purpose"), 2);
}

// Rooms, which need neither a display nor a network.

TEST(CoroutineRoomTest, WhoeverWaitsForARoomHearsHowThatHasEnded)
{
    const auto wait = [](auto start, Texts& heard) -> Task<> {
        const TQWBRoomOutcome outcome = co_await start();
        heard.push_back(outcome ? "done" : std::string(nameOf(outcome.error->category)) + " " + outcome.error->text);
    };
    const TQWBError full{ TQWBErrorCategory::Service, 4001, "room full" };
    const TQWBRoomConfig config{ "key", "token", "room", "user", "Ann" };
    using Room = std::optional<TQWBRoom>;
    struct Row {
        const char* what;
        std::function<void(TQWBFakeRoom&, Room&)> happens;
        const char* heard;
        // By leaving the room, which is shown then.
        bool isLeaving = false;
    };
    for (const auto& row : std::vector<Row>{
             { "shown", [](auto&fake, Room&) { fake.become(TQWBRoomState::Shown); }, "done" },
             { "over", [&](auto&fake, Room&) { fake.finish(full); }, "service room full" },
             { "over without a reason", [](auto&fake, Room&) { fake.quit(); },
                 "cancelled The room was left before it was shown." },
             { "dropped", [](auto&, Room&room) { room.reset(); }, "cancelled The room was dropped before it came." },
             { "over, and dropped before anybody goes on",
                 [&](auto&fake, Room&room) {
                     fake.finish(full);
                     room.reset();
                 },
                 "service room full" },
             { "left", [](auto&fake, Room&) { fake.finish(); }, "done", true },
             { "dropped while leaving", [](auto&, Room&room) { room.reset(); },
                 "cancelled The room was dropped before it came.", true },
         }) {
        SCOPED_TRACE(row.what);
        TQWBFakeRoom fake;
        Room room(fake.room());
        Texts heard;
        if (row.isLeaving) {
            room->enter(config);
            fake.become(TQWBRoomState::Shown);
        }
        // Held by the coroutine, as by one that names what it waits for.
        std::optional<TQWBRoomStep> step;
        const auto start = [&] { return *(step = row.isLeaving ? room->leave() : room->enter(config)); };
        const auto task = wait(start, heard);
        row.happens(fake, room);
        EXPECT_EQ(heard, Texts()) << "nothing goes on within what happens";
        TQWBFakeRoom::runMainLoop();
        EXPECT_EQ(heard, Texts{ row.heard });
        EXPECT_TRUE(task.isDone());
    }
}

// The library's operations, with the real engine and real HTTPS.

class CoroutineCallsTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({}, nullptr));
        load(R"(<script>
            window._handleMessageFromNative = ({ method, callbackId: id, data: text }) => {
                const answer = (data, complete) =>
                    prompt("_dsbridge=_dsb.returnValue", JSON.stringify({ data: { id, data, complete } }));
                if (method === "sum") answer(JSON.parse(text).reduce((a, b) => a + b), true);
                if (method === "twice") answer("first", false), answer("second", true);
            };
            prompt("_dsbridge=_dsb.dsinit", "{}");
            </script>)");
    }
};

TEST_F(CoroutineCallsTest, TheFirstAnswerOfAPageFunctionIsAwaited)
{
    Texts lines;
    const auto ask = [](DWKWebView& view, Texts& lines) -> Task<> {
        const auto sum = co_await callHandler<int>(view, "sum", 3, 4);
        lines.push_back(std::to_string(sum.value.value_or(0)));
        lines.push_back((co_await callHandler<std::string>(view, "sum", 3, 4)).error);
        lines.push_back((co_await callHandler<std::string>(view, "twice")).value.value_or(""));
        lines.push_back((co_await callHandler<std::string>(view, "silent")).error);
    };
    const auto task = ask(*view, lines);
    runUntil([&] { return lines.size() == 3; }, "three functions have answered");
    EXPECT_EQ(lines, (Texts{ "7", "sum: the answer is not a text", "first" }));
    std::ignore = PageTest::ask("0"); // the page has been called for the fourth time
    EXPECT_FALSE(task.isDone());
    view.reset();
    runUntil([&] { return task.isDone(); }, "it goes on without its view");
    EXPECT_EQ(lines.back(), "silent: no answer will come");
}

class CoroutineSessionTest : public SessionTest {
protected:
    static std::string describe(const TQWBOutcome& outcome)
    {
        return outcome ? "done" : std::to_string(outcome.code) + " " + outcome.text.value_or("");
    }
};

TEST_F(CoroutineSessionTest, ARoomIsVisited)
{
    Texts lines;
    const auto visit = [&]() -> Task<> {
        answer.set(HttpsServer::answerWith(200, R"({"code":7,"desc":"no such recording"})"));
        lines.push_back(describe(co_await tq::quit(*board)));
        lines.push_back(describe(co_await replay(*board, record)));
        answer.set(kGoodAnswer);
        lines.push_back(describe(co_await tq::join(*board, config)));
        EXPECT_TRUE(isMainThread());
        lines.push_back(describe(co_await tq::quit(*board)));
    };
    const auto task = visit();
    runUntil([&] { return task.isDone(); }, "the visit is over");
    EXPECT_EQ(lines, (Texts{ "300010 not in WhiteBoard", "7 no such recording", "done", "done" }));
}

} // namespace
} // namespace tq::test
