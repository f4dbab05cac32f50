#include "Member.h"

#include "LiveMessage.h"
#include "platform/Foundation/JSONWriter.h"

#include <boost/json.hpp>

namespace tq::conference {

namespace {

constexpr double s_messagesPerSecond = 150;
constexpr double s_messageBurst = 600;
constexpr unsigned s_pingSeconds = 10;
constexpr unsigned s_longestFarewell = 4000; // milliseconds; a machine that is busy takes its time
/// A page that takes nothing must not fill the memory.
constexpr std::size_t s_mostUnanswered = 32U << 20U;
/// What the library reads at all: a message between the two bounds is refused with words, a larger one is cut off.
constexpr std::size_t s_largestRead = 1U << 20U;
constexpr unsigned short s_dismissed = 4000;

void sendText(SoupWebsocketConnection* connection, std::string_view json)
{
    g_autoptr(GBytes) bytes = g_bytes_new(json.data(), json.size());
    soup_websocket_connection_send_message(connection, SOUP_WEBSOCKET_DATA_TEXT, bytes);
}

bool isOpen(SoupWebsocketConnection* connection)
{
    return soup_websocket_connection_get_state(connection) == SOUP_WEBSOCKET_STATE_OPEN;
}

std::string failureText(const Refusal& refusal)
{
    return tq::writtenJSON(
        boost::json::object{ { "type", "failed" }, { "code", refusal.code }, { "msg", refusal.desc } });
}

} // namespace

Member::Member(SoupWebsocketConnection* connection, std::shared_ptr<RoomKey> key, std::string host, unsigned seat)
    : m_connection(SOUP_WEBSOCKET_CONNECTION(g_object_ref(connection)))
    , m_key(std::move(key))
    , m_host(std::move(host))
    , m_seat(seat)
    , m_rate(s_messagesPerSecond, s_messageBurst)
{
    soup_websocket_connection_set_max_incoming_payload_size(connection, s_largestRead);
    soup_websocket_connection_set_keepalive_interval(connection, s_pingSeconds);
}

Member::~Member()
{
    disconnect();
    if (isOpen(m_connection.get()))
        close(m_connection.get(), SOUP_WEBSOCKET_CLOSE_GOING_AWAY, nullptr);
}

void Member::listen(OnMessage onMessage, OnClosed onClosed)
{
    m_onMessage = std::move(onMessage);
    m_onClosed = std::move(onClosed);
    g_signal_connect(m_connection.get(), "message", G_CALLBACK(messageCame), this);
    g_signal_connect(m_connection.get(), "closed", G_CALLBACK(closed), this);
    g_signal_connect(m_connection.get(), "pong", G_CALLBACK(pongCame), this);
}

void Member::disconnect() { g_signal_handlers_disconnect_by_data(m_connection.get(), this); }

void Member::messageCame(SoupWebsocketConnection*, int type, GBytes* bytes, void* data)
{
    const auto self = static_cast<Member*>(data)->shared_from_this();
    const auto text = textOf(bytes);
    const char* fault = nullptr;
    if (type != SOUP_WEBSOCKET_DATA_TEXT)
        fault = "the message is not text";
    else if (text.size() > LiveMessage::s_largest)
        fault = "the message is too large";
    else if (!self->m_rate.take())
        fault = "too many messages";
    if (!fault) {
        self->m_onMessage(*self, text);
        return;
    }
    self->dismiss({ Refusal::s_badMessage, fault });
    self->m_onClosed(*self);
}

void Member::closed(SoupWebsocketConnection*, void* data)
{
    const auto self = static_cast<Member*>(data)->shared_from_this();
    self->disconnect();
    self->m_onClosed(*self);
}

void Member::pongCame(SoupWebsocketConnection*, GBytes*, void* data) { static_cast<Member*>(data)->m_unanswered = 0; }

void Member::send(std::string_view json)
{
    if (!isOpen(m_connection.get()))
        return;
    m_unanswered += json.size();
    if (m_unanswered > s_mostUnanswered)
        close(m_connection.get(), SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION, "the page takes no messages");
    else
        sendText(m_connection.get(), json);
}

void Member::dismiss(const Refusal& refusal)
{
    disconnect();
    send(failureText(refusal));
    unsigned short code = s_dismissed;
    if (refusal.code == Refusal::s_badMessage)
        code = SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION;
    close(m_connection.get(), code, refusal.desc.c_str());
}

void Member::release(std::shared_ptr<void> held)
{
    disconnect();
    send(R"({"type":"quit"})");
    if (!isOpen(m_connection.get()))
        return;
    m_self = shared_from_this();
    m_held = std::move(held);
    g_signal_connect(m_connection.get(), "closed", G_CALLBACK(pageHasLeft), this);
    m_timer = g_timeout_add(s_longestFarewell, pageIsLate, this);
}

void Member::pageHasLeft(SoupWebsocketConnection*, void* self) { static_cast<Member*>(self)->endFarewell(); }

gboolean Member::pageIsLate(void* self)
{
    static_cast<Member*>(self)->endFarewell();
    return G_SOURCE_REMOVE;
}

void Member::endFarewell()
{
    disconnect();
    g_source_remove(m_timer);
    close(m_connection.get(), SOUP_WEBSOCKET_CLOSE_NORMAL, nullptr);
    m_held.reset();
    const auto self = std::move(m_self);
}

void Member::welcomeToReplay()
{
    send(tq::writtenJSON(boost::json::object{ { "type", "welcome" }, { "mode", "replay" }, { "room", m_key->room },
        { "source", "/recordings/" + m_key->recording + ".json" } }));
    close(m_connection.get(), SOUP_WEBSOCKET_CLOSE_NORMAL, nullptr);
}

void Member::refuse(SoupWebsocketConnection* connection, const Refusal& refusal)
{
    sendText(connection, failureText(refusal));
    close(connection, s_dismissed, refusal.desc.c_str());
}

void Member::close(SoupWebsocketConnection* connection, unsigned short code, const char* reason)
{
    if (!isOpen(connection))
        return;
    // The connection lives until the closing handshake is done or has timed out, whoever else lets go of it.
    g_signal_connect(connection, "closed", G_CALLBACK(g_object_unref), nullptr);
    g_object_ref(connection);
    // A close frame holds at most 123 bytes of reason.
    const auto text = std::string(reason ? reason : "").substr(0, 120);
    soup_websocket_connection_close(
        connection, code, g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) ? text.c_str() : "");
}

} // namespace tq::conference
