// What a person reads when a room cannot be shown.

#include "ClientPrograms.h"
#include "tests/support/Accessibility.h"
#include "tests/support/Authority.h"
#include "tests/support/HttpsServer.h"

#include <algorithm>
#include <fstream>

namespace tq::test {
namespace {

class FaultTest : public AnswersTest {
protected:
    void SetUp() override
    {
        AnswersTest::SetUp();
        bus = std::make_unique<AccessibilityBus>(folder);
    }
    void waitForText(const std::string& text) const
    {
        bus->waitFor(text, [&](const AccessibleNode& node) { return node.name.find(text) != std::string::npos; });
    }
    std::unique_ptr<AccessibilityBus> bus;
};

TEST_F(FaultTest, EachIsSaidInWords)
{
    const auto good = join.get();
    const auto refused = "localhost:" + std::to_string(refusingPort());
    const Authority stranger;
    HttpsServer untrusted([](const ReceivedRequest&, Wire&) {}, { .identity = stranger.identity({}) });
    const struct {
        const char* what;
        std::string pages;
        std::string page;
        std::string join;
        const char* category;
        int code;
        const char* title;
        const char* advice;
    } rows[] = {
        { "page refused", refused, "", good, "page", 300105, "The board cannot be shown",
            "The room's page cannot be reached." },
        { "page untrusted", untrusted.host(), "", good, "certificate", 300108, "The board cannot be shown",
            "A server's certificate is not trusted." },
        { "page 500", host, htmlAnswer(500, "broken"), good, "page", 500, "The board cannot be shown",
            "The server of the room's page refuses it." },
        { "captive portal", host, "", htmlAnswer(200, "<html>Log in</html>"), "service", 300104,
            "The room could not be joined", "Something else answers in the service's place." },
        { "room full", host, "", htmlAnswer(200, R"({"code":4001,"desc":"room <b>full</b> & \u003c"})"), "service",
            4001, "The room could not be joined", "4001: room <b>full</b> & <" },
    };
    int user = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        pages.set(row.pages);
        page.set(row.page);
        join.set(row.join);
        // Where the service is is remembered for each token.
        auto client = start(joinWords("ann", "t" + std::to_string(++user)));
        const auto over = client->waitFor("room", { { "state", "over" } });
        EXPECT_EQ(over.at("category"), row.category);
        EXPECT_EQ(over.at("code"), row.code);
        waitForText(row.title);
        waitForText(row.advice);
    }
}

TEST_F(FaultTest, WhoEndsTheProgramHasLeftTheRoom)
{
    page.set(htmlAnswer(200, "<script>prompt('_dsbridge=TQJSBridge.onLoadEnd', '{}')</script>"));
    auto client = start(joinWords("ann"));
    client->waitFor("room", { { "state", "shown" } });
    client->write("exit");
    EXPECT_EQ(client->end(), 0);
    const auto requests = service.requests();
    EXPECT_TRUE(std::ranges::any_of(requests,
        [](const ReceivedRequest& request) { return request.line().starts_with("DELETE /api/v1/iwb/hubs/hall/"); }));
}

} // namespace
} // namespace tq::test
