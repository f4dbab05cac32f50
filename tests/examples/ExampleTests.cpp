// The small programs that show one thing each, as their readers run them.

#include "tests/client/ClientPrograms.h"
#include "tests/support/HttpsServer.h"

#include <X11/Xlib.h>
#include <cstdio>

namespace tq::test {
namespace {

// As the button of a window's frame would: nobody draws frames on this screen.
void closeWindowOf(const Program& program)
{
    const auto words = "timeout 60 xdotool search --sync --onlyvisible --pid " + std::to_string(program.id());
    auto* search = popen(words.c_str(), "r");
    unsigned long window = 0;
    EXPECT_EQ(fscanf(search, "%lu", &window), 1) << "there is no window";
    pclose(search);
    auto* display = XOpenDisplay(nullptr);
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    EXPECT_TRUE(XSendEvent(display, window, False, NoEventMask, &event));
    XCloseDisplay(display);
}

class ExampleTest : public ServiceTest {
protected:
    ExampleTest()
        : ServiceTest(2)
    {
    }
    std::unique_ptr<Program> run(const std::string& program, Words arguments)
    {
        std::filesystem::create_directories(folder);
        arguments.insert(arguments.begin(), TQWB_EXAMPLES_FOLDER "/" + program);
        // Leaks are looked for in the tests of the library. Qt's engine frees objects as others than they were made as.
        Program::Environment environment{ { "ASAN_OPTIONS", "detect_leaks=0:new_delete_type_mismatch=0" } };
        // Qt's engine does not shut root's pages in.
        if (geteuid() == 0)
            environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1";
        return std::make_unique<Program>(std::move(arguments), folder / (program + ".log"), environment);
    }
};

// One of each port.
class ViewerTest : public ExampleTest, public testing::WithParamInterface<const char*> { };

TEST_P(ViewerTest, ItSaysHowItsRoomIsDoingAndEndsWithItsWindow)
{
    const std::string program = GetParam();
    const auto unreachable = "localhost:" + std::to_string(refusingPort());
    auto viewer = run(program, { "good@" + host, authority });
    for (const char* state : { "finding", "joining", "loading", "shown" })
        viewer->waitForLine(state);
    closeWindowOf(*viewer);
    EXPECT_EQ(viewer->end(), 0) << viewer->log();
    // Where the service is was learnt by the one before.
    run(program, { "good@" + host })->waitForLine("over: certificate: ");
    run(program, { "good@" + unreachable })->waitForLine("over: network: ");
}

INSTANTIATE_TEST_SUITE_P(, ViewerTest, testing::Values(TQWB_VIEWERS));

TEST_F(ExampleTest, TheConversationComesToItsEnd)
{
    auto conversation = run("conversation", {});
    conversation->waitForLine("148933 primes up to 2000000");
}

TEST_F(ExampleTest, TheBoardBesideNotesKnowsWhoComesAndGoes)
{
    auto lesson = run("board-beside-notes", { "good@" + host, authority });
    lesson->waitForLine("You are in the room.");
    lesson->waitForLine("\u2022 Ada");
    auto guestWords = joinWords("bob");
    guestWords.at(6) = "lesson";
    auto guest = start(guestWords);
    lesson->waitForLine("\u2022 Ann");
    guest->write("quit");
    lesson->waitForLine("In the room:");
    lesson->waitForLine("\u2022 Ada");
}

} // namespace
} // namespace tq::test
