// The small programs that show one thing each, as their readers run them.

#include "tests/client/ClientPrograms.h"
#include "tests/support/HttpsServer.h"

namespace tq::test {
namespace {

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
        return std::make_unique<Program>(std::move(arguments), folder / (program + ".log"));
    }
};

TEST_F(ExampleTest, TheViewerSaysHowItsRoomIsDoing)
{
    const auto unreachable = "localhost:" + std::to_string(refusingPort());
    auto viewer = run("viewer", { "good@" + host, authority });
    for (const char* state : { "finding", "joining", "loading", "shown" })
        viewer->waitForLine(state);
    // Where the service is was learnt by the one before.
    run("viewer", { "good@" + host })->waitForLine("over: certificate: ");
    run("viewer", { "good@" + unreachable })->waitForLine("over: network: ");
}

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
