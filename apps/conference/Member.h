#pragma once

#include "GObjectPointer.h"
#include "RateLimit.h"
#include "Refusal.h"
#include "RoomKeys.h"
#include "Stroke.h"

#include <libsoup/soup.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tq::conference {

/// A person in a room: one socket of one room page.
class Member : public std::enable_shared_from_this<Member> {
public:
    using OnMessage = std::function<void(Member&, std::string_view)>;
    using OnClosed = std::function<void(Member&)>;

    /// `host` is how the page addressed the service; `seat` tells the members of a room apart (their colours).
    Member(SoupWebsocketConnection*, std::shared_ptr<RoomKey>, std::string host, unsigned seat);
    ~Member();
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;

    /// From now on the socket's messages and its end are told. A message that is not text, too large or too
    /// fast ends the socket and is told as its end.
    void listen(OnMessage, OnClosed);

    void send(std::string_view json);

    /// Tells the page why and closes the socket; nothing is told to the listener any more.
    void dismiss(const Refusal&);
    /// Tells the page that its user has left the room. The page tells its application and closes the socket; `held` is
    /// kept until it has done so, for a second at most.
    void release(std::shared_ptr<void> held);

    /// Tells the page which recording it shows and closes the socket.
    void welcomeToReplay();

    /// Closes a socket that never became a member's.
    static void refuse(SoupWebsocketConnection*, const Refusal&);

    const RoomKey& key() const { return *m_key; }
    const std::string& uid() const { return m_key->user.uid; }
    const std::string& name() const { return m_key->user.name; }
    Role role() const { return m_key->role; }
    void setRole(Role role) { m_key->role = role; }
    const std::string& host() const { return m_host; }
    unsigned seat() const { return m_seat; }

    std::shared_ptr<Stroke> stroke; ///< the one being drawn
    std::int64_t lastStroke = 0; ///< the highest id that this user has begun

private:
    static void messageCame(SoupWebsocketConnection*, int type, GBytes*, void* self);
    static void closed(SoupWebsocketConnection*, void* self);
    static void pageHasLeft(SoupWebsocketConnection*, void* self);
    static gboolean pageIsLate(void* self);
    static void pongCame(SoupWebsocketConnection*, GBytes*, void* self);
    static void close(SoupWebsocketConnection*, unsigned short code, const char* reason);

    void disconnect();
    void endFarewell();

    GObjectPointer<SoupWebsocketConnection> m_connection;
    std::shared_ptr<RoomKey> m_key;
    std::string m_host;
    unsigned m_seat;
    RateLimit m_rate;
    std::size_t m_unanswered = 0; ///< bytes sent since the page last answered a ping
    OnMessage m_onMessage;
    OnClosed m_onClosed;
    // While the page takes its leave:
    std::shared_ptr<Member> m_self;
    std::shared_ptr<void> m_held;
    unsigned m_timer = 0;
};

} // namespace tq::conference
