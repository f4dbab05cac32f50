// The small programs that show one thing each, as their readers run them.

#include "tests/client/ClientPrograms.h"

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

TEST_F(ExampleTest, TheViewerJoins)
{
    auto viewer = run("viewer", { "good@" + host, authority });
    viewer->waitForLine("joined");
    viewer->waitForLog("[TQ:Log] onLoadEnd");
    auto refused = run("viewer", { "good@" + host });
    // Where the service is was learnt by the one before.
    refused->waitForLog("300005: SSL");
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
