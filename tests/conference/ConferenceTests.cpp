#include "apps/conference/GObjectPointer.h"
#include "tests/support/Content.h"
#include "tests/support/MainLoop.h"
#include "tests/support/Program.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tq::test {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;
using tq::conference::GObjectPointer;
using tq::conference::textOf;

using Headers = std::vector<std::pair<const char*, const char*>>;
const Headers s_iwbHeaders{ { "Content-Type", "application/json" }, { "TQ-AppKey", "app" }, { "TQ-Token", "good" } };
const Headers s_naviHeaders{ { "Content-Type", "application/x-www-form-urlencoded" }, { "appId", "app" } };

struct Reply {
    unsigned status = 0;
    std::string text;
    json::object body() const { return json::parse(text).as_object(); }
    std::int64_t code() const { return body().at("code").as_int64(); }
    std::string key() const { return std::string(body().at("key").as_string()); }
    std::string desc() const { return std::string(body().at("desc").as_string()); }
};

/// A client that trusts the service's own authority and nobody else.
class Client {
public:
    explicit Client(const json::object& ready)
        : m_host(ready.at("host").as_string())
        , m_session(soup_session_new())
    {
        g_autoptr(GTlsDatabase) anchors = g_tls_file_database_new(ready.at("ca").as_string().c_str(), nullptr);
        soup_session_set_tls_database(m_session.get(), anchors);
    }

    Reply send(const char* method, const std::string& path, const Headers& headers, const std::string& body = {}) const
    {
        g_autoptr(SoupMessage) message = soup_message_new(method, ("https://" + m_host + path).c_str());
        for (const auto& [name, value] : headers)
            soup_message_headers_append(soup_message_get_request_headers(message), name, value);
        g_autoptr(GBytes) bytes = g_bytes_new(body.data(), body.size());
        if (!body.empty())
            soup_message_set_request_body_from_bytes(message, nullptr, bytes);
        g_autoptr(GError) error = nullptr;
        g_autoptr(GBytes) answer = soup_session_send_and_read(m_session.get(), message, nullptr, &error);
        if (!answer)
            throw std::runtime_error(path + ": " + error->message);
        return { soup_message_get_status(message), std::string(textOf(answer)) };
    }

    static json::object joinBody(const char* uid, const char* role = "presenter")
    {
        return { { "outTradeNo", "aB3aB3aB3a" }, { "ownerId", "0123456789" }, { "name", "abcdefghij" },
            { "fileName", "ABCDEFGHIJ" }, { "minutes", 60 },
            { "user", { { "name", "Name" }, { "role", role }, { "uid", uid } } } };
    }
    Reply join(const std::string& room, const char* uid, const char* role = "presenter") const
    {
        return send("POST", "/api/v1/iwb/join/" + room, s_iwbHeaders, json::serialize(joinBody(uid, role)));
    }
    Reply play(const std::string& url) const
    {
        return send("POST", "/api/v1/iwb/player", s_iwbHeaders,
            json::serialize(json::object{ { "outTradeNo", "abcdefghij" }, { "url", url }, { "playHubId", "room" },
                { "user", { { "name", "" }, { "role", "record" }, { "uid", "u" } } } }));
    }
    SoupSession* session() const { return m_session.get(); }
    const std::string& host() const { return m_host; }

private:
    std::string m_host;
    GObjectPointer<SoupSession> m_session;
};

/// A room page's socket.
class Socket {
public:
    Socket(const Client& client, const std::string& key)
    {
        const auto address = "wss://" + client.host() + "/conference/live?key=" + key;
        g_autoptr(SoupMessage) message = soup_message_new("GET", address.c_str());
        soup_session_websocket_connect_async(
            client.session(), message, nullptr, nullptr, G_PRIORITY_DEFAULT, nullptr, connected, this);
        runUntil([this] { return m_isAnswered; }, "a socket is there");
        if (!m_connection)
            throw std::runtime_error("the socket was refused");
        g_signal_connect(m_connection.get(), "message", G_CALLBACK(messageCame), this);
    }
    ~Socket()
    {
        if (m_connection)
            g_signal_handlers_disconnect_by_data(m_connection.get(), this);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void send(const std::string& text) { soup_websocket_connection_send_text(m_connection.get(), text.c_str()); }

    /// The next message of this type; those before it are dropped.
    json::object next(const std::string& type)
    {
        json::object found;
        runUntil(
            [&] {
                while (found.empty() && !m_messages.empty()) {
                    if (m_messages.front().at("type").as_string() == type)
                        found = m_messages.front();
                    m_messages.pop_front();
                }
                return !found.empty();
            },
            "there is a message " + type);
        return found;
    }

    unsigned closeCode()
    {
        runUntil(
            [this] { return soup_websocket_connection_get_state(m_connection.get()) == SOUP_WEBSOCKET_STATE_CLOSED; },
            "the socket has ended");
        return soup_websocket_connection_get_close_code(m_connection.get());
    }

private:
    static void connected(GObject* session, GAsyncResult* result, void* data)
    {
        auto* const self = static_cast<Socket*>(data);
        self->m_connection.reset(soup_session_websocket_connect_finish(SOUP_SESSION(session), result, nullptr));
        self->m_isAnswered = true;
    }
    static void messageCame(SoupWebsocketConnection*, int, GBytes* bytes, void* data)
    {
        auto* const self = static_cast<Socket*>(data);
        self->m_messages.push_back(json::parse(textOf(bytes)).as_object());
    }

    GObjectPointer<SoupWebsocketConnection> m_connection;
    std::deque<json::object> m_messages;
    bool m_isAnswered = false;
};

/// A socket in the room "room", once the board is there.
struct Entered : Socket {
    Entered(const Client& client, const char* uid, const char* role = "presenter")
        : Socket(client, client.join("room", uid, role).key())
    {
        next("ready");
    }
};

class ConferenceTests : public testing::Test {
protected:
    void SetUp() override { fs::create_directories(m_directory); }
    void TearDown() override
    {
        m_service.reset();
        fs::remove_all(m_directory);
    }

    Client start(const std::vector<std::string>& more = {})
    {
        std::vector<std::string> arguments{ "--port", "0", "--state", state().string() };
        arguments.insert(arguments.end(), more.begin(), more.end());
        m_service = run(arguments);
        return Client(m_service->waitFor("ready"));
    }
    std::unique_ptr<Program> run(std::vector<std::string> words) const
    {
        words.insert(words.begin(), TQWB_CONFERENCE_BINARY);
        return std::make_unique<Program>(std::move(words), (m_directory / "log").string());
    }
    fs::path state() const { return m_directory / "state"; }
    std::string content(const char* file) const { return contentOf(state() / file); }

    std::unique_ptr<Program> m_service;
    const fs::path m_directory = fs::path(getenv("XDG_DATA_HOME")) / "conference";
};

const char* const s_begin = R"({"type":"begin","id":1,"color":"red","width":3,"points":[0.25,0.5]})";

TEST_F(ConferenceTests, RequestsOfAnyOtherShapeAreRefusedWithTheReason)
{
    const auto client = start();
    const auto body = [](const std::function<void(json::object&)>& spoil) {
        auto object = Client::joinBody("u");
        spoil(object);
        return json::serialize(object);
    };
    const auto good = body([](auto&) {});
    const std::string room = "/api/v1/iwb/join/room";
    const std::string user = "/api/v1/iwb/hubs/room/users/u";
    const std::string navi = "/whiteboard/config.json";
    const auto headersWith = [](Headers headers, std::size_t index, const char* value) {
        headers[index].second = value;
        return headers;
    };
    struct Case {
        const char* method;
        std::string path;
        Headers headers;
        std::string body;
        unsigned status;
        int code;
        const char* desc;
    };
    const std::vector<Case> cases{
        { "GET", "/nothing", {}, "", 404, 404, "not found" },
        { "GET", "/conference/%2e%2e", {}, "", 404, 404, "not found" },
        { "GET", "/recordings/..%2fca.pem.json", {}, "", 404, 4004, "recording not found" },
        { "GET", "/conference/live", {}, "", 400, 4000, "WebSocket" },
        { "GET", room, s_iwbHeaders, "", 405, 405, "wrong method" },
        { "POST", "/api/v1/iwb/join/%ff", s_iwbHeaders, good, 400, 4000, "path" },
        { "POST", room, headersWith(s_iwbHeaders, 1, ""), good, 400, 4000, "TQ-AppKey" },
        { "POST", room, headersWith(s_iwbHeaders, 2, "wrong@host"), good, 401, 403, "token" },
        { "POST", room, s_iwbHeaders, "[]", 400, 4000, "JSON object" },
        { "POST", room, s_iwbHeaders, std::string(5000, '['), 400, 4000, "not JSON" },
        { "POST", room, s_iwbHeaders, std::string(70000, ' '), 413, 413, "too large" },
        { "POST", room, s_iwbHeaders, body([](auto& o) { o.erase("ownerId"); }), 400, 4000, "ownerId" },
        { "POST", room, s_iwbHeaders, body([](auto& o) { o["fileName"] = "abc_efghij"; }), 400, 4000, "fileName" },
        { "POST", room, s_iwbHeaders, body([](auto& o) { o["minutes"] = 0; }), 400, 4000, "minutes" },
        { "POST", room, s_iwbHeaders, body([](auto& o) { o["url"] = "x"; }), 400, 4000, "unexpected member" },
        { "POST", room, s_iwbHeaders, body([](auto& o) { o["user"].as_object()["role"] = "record"; }), 400, 4000,
            "user.role" },
        { "POST", "/api/v1/iwb/player", s_iwbHeaders, good, 400, 4000, "url" },
        { "DELETE", user, s_iwbHeaders, "{}", 400, 4000, "no body" },
        { "POST", navi, headersWith(s_naviHeaders, 1, ""), "token=t&v=1&p=iOS", 400, 4000, "appId" },
        { "POST", navi, s_naviHeaders, "v=1&token=t&p=iOS", 400, 4000, "token=" },
        { "POST", navi, s_naviHeaders, "token=t&v=1&p=iOS\n", 400, 4000, "p=iOS" },
        { "POST", navi, s_naviHeaders, "token=wrong&v=1&p=iOS", 401, 403, "token" },
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.method + (" " + one.path) + " " + one.body.substr(0, 200));
        const auto reply = client.send(one.method, one.path, one.headers, one.body);
        EXPECT_EQ(reply.status, one.status);
        EXPECT_EQ(reply.code(), one.code);
        EXPECT_NE(reply.desc().find(one.desc), std::string::npos) << reply.text;
    }
    EXPECT_EQ(client.join("room", "u").code(), 0);
}

TEST_F(ConferenceTests, FullRoomTakesNobodyUntilSomebodyLeaves)
{
    const auto client = start({ "--room-size", "2" });
    Entered first(client, "u1");
    EXPECT_EQ(client.join("room", "u2").code(), 0); // a key that waits to be used holds a place
    EXPECT_EQ(client.join("room", "u3").code(), 4001);
    EXPECT_EQ(client.join("room", "u1").code(), 0);
    EXPECT_EQ(client.join("other", "u3").code(), 0);
    EXPECT_EQ(client.send("DELETE", "/api/v1/iwb/hubs/room/users/u1", s_iwbHeaders).code(), 0);
    first.next("quit");
    EXPECT_EQ(first.closeCode(), 1000U);
    EXPECT_EQ(client.send("DELETE", "/api/v1/iwb/hubs/room/users/u1", s_iwbHeaders).code(), 4041);
    EXPECT_EQ(client.join("room", "u3").code(), 0);
}

TEST_F(ConferenceTests, StrokesReachTheOthersWhileTheyAreDrawnAndLateComersGetTheBoard)
{
    const auto client = start();
    Entered ann(client, "ann");
    Socket bob(client, client.join("room", "bob").key());
    EXPECT_EQ(bob.next("members").at("members").as_array().size(), 2U);
    bob.next("ready");
    ann.send(s_begin);
    EXPECT_EQ(bob.next("begin").at("uid").as_string(), "ann");
    ann.send(R"({"type":"points","id":1,"points":[0.5,0.5,1,0]})");
    EXPECT_EQ(bob.next("points").at("points").as_array().size(), 4U); // before the stroke has ended
    bob.send(R"({"type":"begin","id":1,"color":"blue","width":60,"points":[0,1]})");
    bob.next("begin");

    Socket late(client, client.join("room", "late").key());
    const auto strokes = late.next("board").at("strokes").as_array();
    ASSERT_EQ(strokes.size(), 2U);
    EXPECT_EQ(strokes[0].at("points").as_array().size(), 6U);
    late.next("ready");
    bob.send(R"({"type":"undo"})");
    EXPECT_EQ(late.next("remove").at("uid").as_string(), "bob");
    bob.send(R"({"type":"points","id":1,"points":[0,0]})"); // was on its way: no fault
    bob.send(R"({"type":"clear"})");
    late.next("clear");
    late.send(s_begin);
    late.next("begin");
    Socket last(client, client.join("room", "last").key());
    EXPECT_EQ(last.next("board").at("strokes").as_array().size(), 1U);
}

TEST_F(ConferenceTests, BadMessageClosesItsSenderAlone)
{
    const auto client = start();
    Entered good(client, "good");
    const std::vector<std::string> messages{ "nonsense", "[]", R"({"type":"fly"})",
        R"({"type":"begin","id":1,"color":"beige","width":3,"points":[0,0]})",
        R"({"type":"begin","id":0,"color":"red","width":3,"points":[0,0]})",
        R"({"type":"begin","id":1,"color":"red","width":61,"points":[0,0]})",
        R"({"type":"begin","id":1,"color":"red","width":3,"points":[0,0,0]})",
        R"({"type":"begin","id":1,"color":"red","width":3,"points":[0,1.001]})",
        R"({"type":"points","id":7,"points":[0,0]})", R"({"type":"record","on":1})", std::string(2000, '['),
        std::string(70000, ' ') };
    for (const auto& message : messages) {
        SCOPED_TRACE(message.substr(0, 100));
        Entered bad(client, "bad");
        bad.send(message);
        EXPECT_EQ(bad.closeCode(), 1008U);
    }
    Entered flood(client, "flood");
    for (int i = 0; i < 3000; ++i)
        flood.send(R"({"type":"undo"})");
    EXPECT_EQ(flood.closeCode(), 1008U);
    good.send(s_begin);
    good.next("begin");
}

TEST_F(ConferenceTests, ViewerWatchesUntilAPresenterLetsItDraw)
{
    const auto client = start();
    Socket ann(client, client.join("room", "ann").key());
    Entered bob(client, "bob", "viewer");
    bob.send(s_begin);
    bob.next("notice");
    bob.next("remove");
    bob.send(R"({"type":"points","id":1,"points":[0,0]})");
    bob.send(R"({"type":"role","uid":"bob","role":"presenter"})");
    bob.next("notice");
    for (const auto* const message :
        { R"({"type":"clear"})", R"({"type":"undo"})", R"({"type":"record","on":true})" }) {
        bob.send(message);
        bob.next("notice");
    }
    ann.send(R"({"type":"role","uid":"bob","role":"presenter"})");
    EXPECT_EQ(bob.next("members").at("members").at(1).at("role").as_string(), "presenter");
    bob.send(R"({"type":"begin","id":2,"color":"ink","width":3,"points":[0.25,0.5]})");
    EXPECT_EQ(ann.next("begin").at("id").as_int64(), 2); // nothing of the first one came through
}

TEST_F(ConferenceTests, KeysOpenTheirRoomAgainButNoUnknownOneDoes)
{
    const auto client = start();
    Socket unknown(client, "(null)");
    const auto failed = unknown.next("failed");
    EXPECT_EQ(failed.at("code").as_int64(), 4040);
    EXPECT_FALSE(failed.at("msg").as_string().empty());
    EXPECT_EQ(unknown.closeCode(), 4000U);
    const auto joined = client.join("a%20room%2F1", "u");
    Socket first(client, joined.key());
    EXPECT_EQ(first.next("welcome").at("room").as_string(), "a room/1");
    Socket again(client, joined.key()); // as when the page is loaded anew
    again.next("ready");
    EXPECT_EQ(first.next("failed").at("code").as_int64(), 4091);
    for (const auto* const file : { "index.html", "main.js", "style.css" })
        EXPECT_EQ(client.send("GET", std::string("/conference/") + file, {}).status, 200U);
}

TEST_F(ConferenceTests, CertificateIsPrivateReusedAndRemadeWhenDamaged)
{
    start();
    const auto permissionsOf = [](const fs::path& path) { return fs::status(path).permissions(); };
    EXPECT_EQ(permissionsOf(state()), fs::perms::owner_all);
    EXPECT_EQ(permissionsOf(state() / "server-key.pem"), fs::perms::owner_read | fs::perms::owner_write);
    const auto first = content("ca.pem") + content("server.pem") + content("server-key.pem");
    EXPECT_EQ(m_service->end(SIGTERM), 0);
    EXPECT_EQ(start().join("room", "u").code(), 0);
    EXPECT_EQ(content("ca.pem") + content("server.pem") + content("server-key.pem"), first);
    EXPECT_EQ(m_service->end(SIGINT), 0);
    for (const auto* const file : { "ca.pem", "server.pem", "server-key.pem" }) {
        const auto before = content(file);
        fs::resize_file(state() / file, 100);
        EXPECT_EQ(start().join("room", "u").code(), 0) << file;
        EXPECT_NE(content(file), before);
    }
}

TEST_F(ConferenceTests, RecordingOutlivesTheService)
{
    std::string url;
    {
        const auto client = start();
        Socket ann(client, client.join("room", "ann").key());
        ann.send(s_begin);
        ann.send(R"({"type":"end","id":1})");
        ann.send(R"({"type":"record","on":true})");
        EXPECT_TRUE(ann.next("recording").at("on").as_bool());
        ann.send(R"({"type":"undo"})");
        ann.send(R"({"type":"record","on":false})");
        url = ann.next("recording").at("url").as_string();
    }
    EXPECT_EQ(m_service->end(SIGTERM), 0);
    const auto client = start(); // on another port
    EXPECT_EQ(client.play(url).code(), 0);
    for (const auto& other : { url + "x", "http" + url.substr(5), std::string(), url.substr(0, url.size() - 6) })
        EXPECT_EQ(client.play(other).code(), 4004) << other;
}

TEST_F(ConferenceTests, CommandLinesAreAnsweredOrRefusedWithTheWayOut)
{
    const auto client = start();
    const auto port = client.host().substr(client.host().find(':') + 1);
    std::ofstream(m_directory / "file") << "x";
    const auto good = state().string();
    const auto bad = (m_directory / "file" / "state").string();
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string complaint;
    };
    const std::vector<Case> cases{
        { {}, 2, "--port is missing" },
        { { "--port=65536", "--state", good }, 2, "--port takes a number from 0 to 65535, not \"65536\"" },
        { { "--port", "0", "--state", good, "--room-size", "0" }, 2, "--room-size takes a number from 1 to 256" },
        { { "--port", "0", "--state", good, "--more" }, 2, "unknown option \"--more\"" },
        { { "--port", "0", "--state", good, "more" }, 2, "unexpected argument \"more\"" },
        { { "--port", "0", "--state" }, 2, "--state needs a value" },
        { { "--port", port, "--state", good }, 1, "cannot listen on port " + port },
        { { "--port", "0", "--state", bad }, 1, bad },
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(testing::PrintToString(one.arguments));
        const auto program = run(one.arguments);
        EXPECT_EQ(program->end(), one.status);
        EXPECT_TRUE(program->log().starts_with("tqwhiteboard-conference: ")) << program->log();
        EXPECT_NE(program->log().find(one.complaint), std::string::npos) << program->log();
        EXPECT_EQ(program->log().find("tqwhiteboard-conference --help") != std::string::npos, one.status == 2);
    }
    for (const auto& [option, line] : { std::pair("--help", "--room-size N"), { "--version", "conference 1.0.0" } }) {
        const auto program = run({ option });
        program->waitForLine(line);
        EXPECT_EQ(program->end(), 0);
        EXPECT_EQ(program->log(), "");
    }
}

} // namespace
} // namespace tq::test
