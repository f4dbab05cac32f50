#include "ClientPrograms.h"

#include "tests/support/Content.h"
#include "tests/support/MainLoop.h"

#include <boost/json/serialize.hpp>
#include <cstdlib>
#include <fstream>

namespace tq::test {

std::unique_ptr<Program> ClientPrograms::start(Words words, Program::Environment environment)
{
    std::filesystem::create_directories(folder);
    words.insert(words.begin(), TQWB_CLIENT_BINARY);
    environment["XDG_DATA_HOME"] = folder / "data";
    // GLib forgets its first table of names on purpose when there are as many as in this program, and that cannot be
    // told from other leaks soon enough: leaks are looked for in the tests of the library.
    environment["ASAN_OPTIONS"] = "detect_stack_use_after_return=1:detect_leaks=0";
    return std::make_unique<Program>(
        std::move(words), folder / ("client" + std::to_string(++m_count) + ".log"), environment);
}

ClientPrograms::Words ClientPrograms::joinWords(const std::string& user, const std::string& token) const
{
    return { "join", "--app-key", "key", "--token", token + "@" + host, "--room", "hall", "--user", user, "--name",
        "Ann Λ", "--ca", authority };
}

std::unique_ptr<Program> ClientPrograms::joined(const std::string& user, Program::Environment environment)
{
    auto client = start(joinWords(user), std::move(environment));
    client->waitFor("success", "join");
    client->waitForLog("[TQ:Log] onLoadEnd");
    return client;
}

Screen::Window ClientPrograms::waitForWindow(const std::string& title)
{
    std::optional<Screen::Window> window;
    const auto isThere = [&] {
        window = Screen::get()->window(title);
        return window.has_value();
    };
    runUntil(isThere, "the window \"" + title + "\" is there");
    return window.value_or(Screen::Window{});
}

boost::json::value ClientPrograms::call(
    Program& client, const std::string& function, const boost::json::array& arguments)
{
    client.write("call " + function + " " + boost::json::serialize(arguments));
    return client.waitFor("result", { { "call", function } })["value"];
}

void AnswersTest::SetUp()
{
    std::filesystem::create_directories(folder);
    host = service.host();
    authority = folder / "authority.pem";
    std::ofstream(authority) << HttpsServer::authority();
    pages.set(host);
}

std::string AnswersTest::answerTo(const ReceivedRequest& request)
{
    const auto line = request.line();
    if (line.starts_with("POST /config.json"))
        return HttpsServer::answerWith(
            200, R"({"iwbLeaseUri":")" + host + R"(","iwbConferenceUri":")" + pages.get() + "\"}");
    if (line.find("/bridge.js") != std::string::npos)
        return HttpsServer::answerWith(
            200, contentOf(TQWB_PAGE_FOLDER "/bridge.js"), "Content-Type: text/javascript\r\n");
    return line.starts_with("GET ") ? page.get() : join.get();
}

void ServiceTest::SetUp()
{
    std::filesystem::create_directories(folder);
    service = std::make_unique<Program>(Words{ TQWB_CONFERENCE_BINARY, "--port", "0", "--state", folder / "conference",
                                            "--room-size", std::to_string(m_roomSize) },
        folder / "service.log");
    const auto ready = service->waitFor("ready");
    ASSERT_TRUE(ready.contains("host"));
    host = ready.at("host").as_string();
    authority = ready.at("ca").as_string();
}

} // namespace tq::test
