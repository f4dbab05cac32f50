// What a person reads when a room cannot be shown.

#include "ClientPrograms.h"
#include "tests/support/Accessibility.h"

namespace tq::test {
namespace {

class FaultTest : public AnswersTest { };

TEST_F(FaultTest, EachIsSaidInWords)
{
    const AccessibilityBus bus(folder);
    const auto good = join.get();
    const auto refused = "localhost:" + std::to_string(refusingPort());
    HttpsServer untrusted([](const ReceivedRequest&, Wire&) {}, HttpsServer::Transport::Untrusted);
    const char* const unseen = "The board cannot be shown";
    const char* const refusal = "The room could not be joined";
    const struct {
        std::string pages;
        std::string page;
        std::string join;
        const char* title;
        const char* advice;
    } rows[] = {
        { refused, "", good, unseen, "The room's page cannot be reached." },
        { untrusted.host(), "", good, unseen, "A server's certificate is not trusted." },
        { host, HttpsServer::answerWith(500, "broken"), good, unseen, "The server of the room's page refuses it." },
        { host, "", HttpsServer::pageOf("<html>Log in</html>"), refusal,
            "Something else answers in the service's place." },
        { host, "", HttpsServer::pageOf(R"({"code":4001,"desc":"room <b>full</b> & \u003c"})"), refusal,
            "4001: room <b>full</b> & <" },
    };
    int user = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.advice);
        pages.set(row.pages);
        page.set(row.page);
        join.set(row.join);
        // Where the service is is remembered for each token.
        auto client = start(joinWords("ann", "t" + std::to_string(++user)));
        client->waitFor("room", { { "state", "over" } });
        for (const std::string text : { row.title, row.advice })
            bus.waitFor(text, [&](const AccessibleNode& node) { return node.name.find(text) != std::string::npos; });
    }
}

} // namespace
} // namespace tq::test
