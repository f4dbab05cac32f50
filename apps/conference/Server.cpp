#include "Server.h"

#include "LiveMessage.h"
#include "RequestBody.h"
#include "platform/Foundation/JSONWriter.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>

namespace tq::conference {

namespace json = boost::json;

namespace {

constexpr std::size_t s_largestBody = 65536;
/// A body is read to its end, so that its sender sees the answer; one that does not end is cut off.
constexpr std::size_t s_mostDrained = 8U << 20U;
constexpr const char* s_livePath = "/conference/live";
constexpr const char* s_receivedKey = "tqwb-received";
constexpr std::size_t s_longestSegment = 128;

/// The segments of an encoded path, decoded: UTF-8 without control characters, none of them too long.
std::vector<std::string> segmentsOf(std::string_view path)
{
    std::vector<std::string> segments;
    bool isRight = path.starts_with('/');
    while (isRight && !path.empty()) {
        path.remove_prefix(1);
        const auto raw = path.substr(0, path.find('/'));
        g_autofree char* segment = g_uri_unescape_segment(raw.data(), raw.data() + raw.size(), nullptr);
        const std::string_view text = segment ? segment : "";
        isRight = segment && text.size() <= s_longestSegment
            && g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)
            && std::ranges::none_of(text, [](char letter) { return g_ascii_iscntrl(letter); });
        segments.emplace_back(text);
        path.remove_prefix(raw.size());
    }
    Refusal::require(isRight, "the path is malformed");
    return segments;
}

std::size_t receivedBytes(SoupServerMessage* message)
{
    return GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(message), s_receivedKey));
}

const char* typeOf(std::string_view file)
{
    if (file.ends_with(".js"))
        return "text/javascript; charset=utf-8";
    return file.ends_with(".css") ? "text/css; charset=utf-8" : "text/html; charset=utf-8";
}

/// While it is held, the answer is not sent.
class HeldAnswer {
public:
    explicit HeldAnswer(SoupServerMessage* message)
        : m_message(SOUP_SERVER_MESSAGE(g_object_ref(message)))
    {
        soup_server_message_pause(message);
    }
    ~HeldAnswer() { soup_server_message_unpause(m_message.get()); }
    HeldAnswer(const HeldAnswer&) = delete;
    HeldAnswer& operator=(const HeldAnswer&) = delete;

private:
    GObjectPointer<SoupServerMessage> m_message;
};

void chunkCame(SoupServerMessage* message, GBytes* chunk, void*)
{
    const auto received = receivedBytes(message) + g_bytes_get_size(chunk);
    g_object_set_data(G_OBJECT(message), s_receivedKey, GSIZE_TO_POINTER(received));
    if (received > s_largestBody)
        soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
    if (received > s_mostDrained)
        g_socket_shutdown(soup_server_message_get_socket(message), TRUE, TRUE, nullptr);
}

void requestStarted(SoupServer*, SoupServerMessage* message, void*)
{
    g_signal_connect(message, "got-chunk", G_CALLBACK(chunkCame), nullptr);
}

void requestFinished(SoupServer*, SoupServerMessage* message, void*)
{
    GUri* const uri = soup_server_message_get_uri(message);
    const auto* const method = soup_server_message_get_method(message);
    // The path only: the query of a room page holds its key.
    std::string path = uri ? g_uri_get_path(uri) : "-";
    if (path.size() > 300)
        path.resize(300);
    std::ranges::replace_if(
        path, [](char letter) { return letter <= ' ' || letter > '~'; }, '?');
    std::cerr << (method ? method : "-") << ' ' << path << ' ' << soup_server_message_get_status(message) << std::endl;
}

} // namespace

std::optional<std::string_view> Server::Request::header(const char* name) const
{
    const auto* const value = soup_message_headers_get_list(soup_server_message_get_request_headers(message), name);
    return value ? std::optional<std::string_view>(value) : std::nullopt;
}

Server::Server(Conference& conference, const TokenRule& tokens, const Certificate& certificate, std::uint16_t port)
    : m_conference(conference)
    , m_tokens(tokens)
{
    g_autoptr(GError) error = nullptr;
    g_autoptr(GTlsCertificate) pair
        = g_tls_certificate_new_from_files(certificate.serverFile().c_str(), certificate.keyFile().c_str(), &error);
    if (!pair)
        throw std::runtime_error(std::string("the certificate cannot be used: ") + error->message);
    m_server.reset(soup_server_new("tls-certificate", pair, "raw-paths", TRUE, nullptr));
    g_signal_connect(m_server.get(), "request-started", G_CALLBACK(requestStarted), nullptr);
    g_signal_connect(m_server.get(), "request-finished", G_CALLBACK(requestFinished), nullptr);
    soup_server_add_handler(m_server.get(), nullptr, requestCame, this, nullptr);
    soup_server_add_handler(m_server.get(), s_livePath, liveRequestCame, this, nullptr);
    soup_server_add_websocket_handler(m_server.get(), s_livePath, nullptr, nullptr, socketCame, this, nullptr);
    listen(port);
    m_sweep = g_timeout_add_seconds(
        1,
        [](void* self) -> gboolean {
            static_cast<Server*>(self)->m_conference.sweep();
            return G_SOURCE_CONTINUE;
        },
        this);
}

Server::~Server()
{
    g_source_remove(m_sweep);
    soup_server_disconnect(m_server.get());
}

void Server::listen(std::uint16_t port)
{
    g_autoptr(GError) error = nullptr;
    // Where the machine has no IPv6, "localhost" means 127.0.0.1 alone.
    if (!soup_server_listen_local(m_server.get(), port, SOUP_SERVER_LISTEN_HTTPS, &error))
        throw std::runtime_error("cannot listen on port " + std::to_string(port) + ": " + error->message);
    GSList* const uris = soup_server_get_uris(m_server.get());
    m_host = "localhost:" + std::to_string(g_uri_get_port(static_cast<GUri*>(uris->data)));
    g_slist_free_full(uris, [](void* uri) { g_uri_unref(static_cast<GUri*>(uri)); });
}

void Server::requestCame(SoupServer*, SoupServerMessage* message, const char*, GHashTable*, void* data)
{
    try {
        g_autoptr(GBytes) bytes = soup_message_body_flatten(soup_server_message_get_request_body(message));
        respond(message,
            static_cast<Server*>(data)->answer({ message, soup_server_message_get_method(message),
                segmentsOf(g_uri_get_path(soup_server_message_get_uri(message))), textOf(bytes) }));
    } catch (const Refusal& refusal) {
        respond(message, refuse(refusal));
    }
}

void Server::respond(SoupServerMessage* message, const Answer& answer)
{
    auto* const headers = soup_server_message_get_response_headers(message);
    soup_message_headers_replace(headers, "Cache-Control", "no-store");
    soup_message_headers_replace(headers, "X-Content-Type-Options", "nosniff");
    for (const auto& [name, value] : answer.headers)
        soup_message_headers_replace(headers, name, value.c_str());
    soup_server_message_set_status(message, answer.status, nullptr);
    soup_server_message_set_response(
        message, answer.type.c_str(), SOUP_MEMORY_COPY, answer.body.data(), answer.body.size());
}

void Server::liveRequestCame(SoupServer*, SoupServerMessage* message, const char*, GHashTable*, void*)
{
    // A request that is left without a status here goes on to the socket's handler.
    g_autoptr(GError) error = nullptr;
    if (!soup_websocket_server_check_handshake(message, nullptr, nullptr, nullptr, &error))
        respond(message,
            refuse({ Refusal::s_malformed,
                std::string("this address takes WebSocket handshakes only: ") + error->message, 400 }));
}

void Server::socketCame(
    SoupServer*, SoupServerMessage* message, const char*, SoupWebsocketConnection* connection, void* data)
{
    auto* const self = static_cast<Server*>(data);
    const auto host = self->hostOf(message);
    std::cerr << "GET " << s_livePath << " 101" << std::endl;
    const auto* const origin = soup_message_headers_get_one(soup_server_message_get_request_headers(message), "Origin");
    const auto* const query = g_uri_get_query(soup_server_message_get_uri(message));
    g_autoptr(GHashTable) form = soup_form_decode(query ? query : "");
    const auto* const key = static_cast<const char*>(g_hash_table_lookup(form, "key"));
    try {
        if (origin && origin != "https://" + host)
            throw Refusal{ Refusal::s_unknownKey, "a page of another site may not enter" };
        self->m_conference.connect(key ? key : "", connection, host);
    } catch (const Refusal& refusal) {
        Member::refuse(connection, refusal);
    }
}

std::string Server::hostOf(SoupServerMessage* message) const
{
    const auto* const header = soup_message_headers_get_one(soup_server_message_get_request_headers(message), "Host");
    const std::string_view host = header ? header : "";
    const bool isPlain = !host.empty() && host.size() <= 255 && std::ranges::all_of(host, [](char letter) {
        return g_ascii_isalnum(letter) || std::string_view(".-:[]").find(letter) != std::string_view::npos;
    });
    return isPlain ? std::string(host) : m_host;
}

Server::Answer Server::refuse(const Refusal& refusal)
{
    Answer answer;
    answer.status = refusal.status;
    answer.body = tq::writtenJSON(json::object{ { "code", refusal.code }, { "desc", refusal.desc } });
    return answer;
}

Server::Answer Server::success(json::object more)
{
    more["code"] = 0;
    Answer answer;
    answer.body = tq::writtenJSON(more);
    return answer;
}

const std::vector<Server::Route>& Server::routes()
{
    static const std::vector<Route> s_routes{
        { { "config.json" }, { "POST" }, &Server::navigate },
        { { "whiteboard", "config.json" }, { "POST" }, &Server::navigate },
        { { "api", "v1", "iwb", "join", "*" }, { "POST" }, &Server::join },
        { { "api", "v1", "iwb", "player" }, { "POST" }, &Server::play },
        { { "api", "v1", "iwb", "hubs", "*", "users", "*" }, { "DELETE" }, &Server::quit },
        { { "conference", "*" }, { "GET", "HEAD" }, &Server::page },
        { { "recordings", "*" }, { "GET", "HEAD" }, &Server::recording },
    };
    return s_routes;
}

Server::Answer Server::answer(const Request& request) const
{
    const auto fits = [&](const Route& route) {
        return std::ranges::equal(route.path, request.path, [](std::string_view wanted, const std::string& segment) {
            return wanted == "*" ? !segment.empty() : wanted == segment;
        });
    };
    const auto route = std::ranges::find_if(routes(), fits);
    if (route == routes().end())
        throw Refusal{ Refusal::s_notFound, "not found", 404 };
    if (std::ranges::find(route->methods, request.method) == route->methods.end()) {
        auto wrong = refuse({ Refusal::s_wrongMethod, "wrong method", 405 });
        std::string allowed;
        for (const auto method : route->methods)
            allowed.append(allowed.empty() ? "" : ", ").append(method);
        wrong.headers.emplace_back("Allow", allowed);
        return wrong;
    }
    if (receivedBytes(request.message) > s_largestBody)
        throw Refusal{ Refusal::s_tooLarge, "the body is too large", 413 };
    return (this->*route->handle)(request);
}

void Server::checkToken(std::string_view token) const
{
    if (!m_tokens.accepts(token))
        throw Refusal{ Refusal::s_badToken, "the token is not right", 401 };
}

Server::Answer Server::navigate(const Request& request) const
{
    Refusal::require(request.header("Content-Type") == "application/x-www-form-urlencoded",
        "Content-Type must be application/x-www-form-urlencoded");
    Refusal::require(!request.header("appId").value_or("").empty(), "the header appId is missing or empty");
    checkToken(tokenOfNavigation(request.body));
    const auto host = hostOf(request.message);
    return success({ { "iwbLeaseUri", host }, { "iwbConferenceUri", host } });
}

void Server::checkHead(const Request& request) const
{
    Refusal::require(request.header("Content-Type") == "application/json", "Content-Type must be application/json");
    Refusal::require(!request.header("TQ-AppKey").value_or("").empty(), "the header TQ-AppKey is missing or empty");
    const auto token = request.header("TQ-Token");
    Refusal::require(token.has_value(), "the header TQ-Token is missing");
    checkToken(*token);
}

Server::Answer Server::join(const Request& request) const
{
    checkHead(request);
    return success({ { "key", m_conference.join(request.path.back(), JoinBody::parse(request.body)) } });
}

Server::Answer Server::play(const Request& request) const
{
    checkHead(request);
    return success({ { "key", m_conference.play(PlayBody::parse(request.body)) } });
}

Server::Answer Server::quit(const Request& request) const
{
    checkHead(request);
    Refusal::require(request.body.empty(), "a quit request has no body");
    // Who gets the answer lets go of the room's page, and the page has to tell its application before.
    m_conference.quit(request.path[4], request.path[6], std::make_shared<HeldAnswer>(request.message));
    return success();
}

Server::Answer Server::page(const Request& request) const
{
    const auto name = "/conference/" + request.path.back();
    g_autoptr(GBytes) bytes = g_resources_lookup_data(name.c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
    if (!bytes)
        throw Refusal{ Refusal::s_notFound, "not found", 404 };
    Answer answer;
    answer.type = typeOf(name);
    answer.body = textOf(bytes);
    // Older engines do not count a socket on the same host as 'self'.
    answer.headers.emplace_back("Content-Security-Policy",
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; connect-src 'self' wss://"
            + hostOf(request.message) + "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    answer.headers.emplace_back("Referrer-Policy", "no-referrer");
    return answer;
}

Server::Answer Server::recording(const Request& request) const
{
    std::string_view name = request.path.back();
    const bool isFile = name.ends_with(".json");
    name.remove_suffix(isFile ? 5 : 0);
    const auto text = isFile ? m_conference.recordings().load(name) : std::nullopt;
    if (!text)
        throw Refusal{ Refusal::s_noRecording, "recording not found", 404 };
    Answer answer;
    answer.body = *text;
    return answer;
}

} // namespace tq::conference
