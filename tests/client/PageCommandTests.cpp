#include "ClientPrograms.h"

#include <boost/json/serialize.hpp>
#include <cstdlib>

namespace tq::test {
namespace {

using boost::json::array;
using boost::json::value;

// A room page that does what a test asks of it.
constexpr const char* kPage = R"(<!DOCTYPE html><title>Room</title><script type="module">
import { callSync, closePage, ready, register, registerStream } from "./bridge.js";
register("nothing", () => {});
register("echo", async (...list) => list);
register("odd", (size) => "\u0000\n\r\"\\\u2028\u2029\u202e\u{1F600}" + "x".repeat(size));
registerStream("count", (answer, last) => {
    for (let i = 1; i < last; ++i)
        answer(i);
    answer.end(last);
});
register("report", (event, details) => callSync("TQJSBridge." + event, details));
register("close", () => closePage());
register("ask", (text) => alert(text));
register("language", () => navigator.language);
window.addEventListener("keydown", (event) => event.preventDefault(), true);
ready();
callSync("TQJSBridge.onLoadEnd", {});
</script>)";

// The client with a room page of the test's own.
class PageCommandTest : public AnswersTest {
protected:
    void SetUp() override
    {
        AnswersTest::SetUp();
        page.set(HttpsServer::pageOf(kPage));
    }
};

TEST_F(PageCommandTest, EveryAnswerIsOneLine)
{
    auto client = joined("ann");
    for (const char* function : { "nothing", "missing" })
        EXPECT_EQ(call(*client, function), nullptr) << function;
    const array arguments{ nullptr, true, -3, "Ω\n", { { "a", array{} } } };
    EXPECT_EQ(call(*client, "echo", arguments), value(arguments));
    const std::string odd(call(*client, "odd", { 5 << 20 }).as_string());
    EXPECT_EQ(odd.substr(0, 18), std::string_view("\0\n\r\"\\\u2028\u2029\xE2\x80\xAE\U0001F600", 18));
    EXPECT_EQ(odd.size(), 18U + (5U << 20U));
    client->write("  exists \t missing  ");
    EXPECT_EQ(
        boost::json::serialize(client->waitFor("exists")), R"({"event":"exists","name":"missing","value":false})");

    // As many as the window's list of events does not hold.
    constexpr int kMany = 2000;
    client->write("call count [" + std::to_string(kMany) + "]");
    for (int expected = 1; expected <= kMany; ++expected)
        ASSERT_EQ(client->waitFor("result").at("value"), expected);
    const auto picture = (folder / "board.png").string();
    client->write("screenshot " + picture);
    EXPECT_EQ(client->waitFor("screenshot").at("path"), boost::json::string(picture));
    EXPECT_GT(std::filesystem::file_size(picture), 1000U);

    // Who ends the program has left the room.
    client->write("exit");
    EXPECT_EQ(client->end(), 0);
    EXPECT_TRUE(service.requests().back().line().starts_with("DELETE /api/v1/iwb/hubs/hall/"));
}

TEST_F(PageCommandTest, BadInputIsAnsweredWithAMessage)
{
    auto client = start({});
    client->write("call echo []");
    client->waitForLog("call: there is no board on the screen");
    client.reset();

    client = joined("ann");
    const auto deep = std::string(513, '[') + std::string(513, ']');
    const std::pair<std::string, std::string> rows[] = {
        { "call", R"(the command is "call NAME [JSON-LIST]", not "call")" },
        { "call echo [1,]", R"(call: "[1,]" is no JSON list: syntax error)" },
        { "call echo [1e999]", R"(call: "[1e999]" is no JSON list: a number is too large)" },
        { "call echo [\"\xff\"]", "call: \"[\"\uFFFD\"]\" is no JSON list: " },
        { "call \xff []", "call: the name \"\uFFFD\" is not valid UTF-8" },
        { "call echo " + deep, "call: \"" + std::string(100, '[') + "…\" is no JSON list: too deep" },
        { "exists a b", R"(exists: "a b" is more than a name)" },
        { "labels []", R"(labels: "[]" is no JSON object)" },
        { R"(labels {"alertBtn":1})", R"(labels: the label "alertBtn" is no text)" },
        { R"(labels {"alertButton":"OK"})", R"(labels: no dialog has a label named "alertButton")" },
        { "quit now", R"(the command is "quit", not "quit now")" },
        { "dance \x1b[31m", R"(unknown command "dance  [31m")" },
    };
    for (const auto& [line, message] : rows) {
        client->write(line);
        client->waitForLog("tqwhiteboard: " + message);
    }
    EXPECT_EQ(call(*client, "echo", { 1 }), value(array{ 1 }));
}

TEST_F(PageCommandTest, WhatThePageReportsReachesTheOutput)
{
    auto client = joined("ann");
    const auto reported = [&](const std::string& report, const char* event) {
        client->write("call report " + report);
        return client->waitFor(event);
    };
    EXPECT_EQ(reported(R"(["onStatusChange",{"status":7}])", "onWBPermissionChange").at("status"), 7);
    EXPECT_EQ(reported(R"(["onRecordEnd",{}])", "onWBRecordEnd").at("url"), nullptr);
    EXPECT_EQ(reported(R"(["onCaptureEnd",{"data":"bm8gcGljdHVyZQ=="}])", "onWBCaptureEnd").at("width"), nullptr);
    client->write("call close");
    client->waitFor("closePage");
    // The page asked to be closed; the view is the application's to close.
    reported(R"(["onRoomQuited",{}])", "onWBRoomQuit");
    client->write("join");
    client->waitFor("success", "join");
    const auto failure = reported(R"(["onRoomException",{"code":-5,"msg":"a\u2028b"}])", "onWBRoomException");
    EXPECT_EQ(failure.at("code"), -5);
    EXPECT_EQ(failure.at("msg"), "a\u2028b");
}

// A suite of its own, since it runs on Wayland, too.
using DialogLabelsTest = PageCommandTest;

TEST_F(DialogLabelsTest, AreThoseOfTheDialogsToCome)
{
    if (!Screen::get())
        GTEST_SKIP() << "nobody sees what is on this screen";
    auto client = joined("ann");
    client->write(R"(call ask ["first"])");
    waitForWindow("提示");
    // A new view has the labels too, and what was asked of the old page is forgotten.
    client->write(R"(labels {"alertTitle":"Notice","alertBtn":"Fine"})");
    client->write("quit");
    client->waitFor("success", "quit");
    client->write("join");
    client->waitFor("success", "join");
    client->write(R"(call ask ["second"])");
    waitForWindow("Notice");
}

TEST_F(PageCommandTest, ThePageKnowsTheUsersLanguageAndKeepsNoKeyToItself)
{
    // The locale is the tests' own: newer C libraries read no LANGUAGE in C.UTF-8, and there may be no other.
    auto client
        = joined("ann", { { "LOCPATH", TQWB_LOCALES_FOLDER }, { "LC_ALL", "en_US.UTF-8" }, { "LANGUAGE", "zh_CN" } });
    EXPECT_EQ(call(*client, "language"), "zh-CN");
    waitForWindow("hall – 白板");
    // The page lets no key go on; the way to the header bar is the window's all the same, and its first button leaves.
    ASSERT_EQ(std::system("timeout 60 xdotool search --sync --onlyvisible --name '^hall – 白板$' windowfocus --sync"
                          " key F6 key Return"),
        0);
    client->waitFor("success", "quit");
}

} // namespace
} // namespace tq::test
