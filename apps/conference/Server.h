#pragma once

#include "Certificate.h"
#include "Conference.h"
#include "GObjectPointer.h"
#include "TokenRule.h"

#include <boost/json.hpp>
#include <libsoup/soup.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tq::conference {

/// The service over HTTPS: reads requests strictly, hands them to the conference, writes answers and one log line each.
/// Lives on the main thread and its GLib context.
class Server {
public:
    /// Listens on the loopback interface alone; port 0 takes a free one. Throws std::runtime_error with the reason.
    Server(Conference&, const TokenRule&, const Certificate&, std::uint16_t port);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// "localhost:PORT"
    const std::string& host() const { return m_host; }

private:
    struct Request {
        SoupServerMessage* message;
        std::string_view method;
        std::vector<std::string> path; ///< decoded segments
        std::string_view body;

        std::optional<std::string_view> header(const char* name) const;
    };
    struct Answer {
        unsigned status = SOUP_STATUS_OK;
        std::string type = "application/json";
        std::string body;
        std::vector<std::pair<const char*, std::string>> headers;
    };
    struct Route {
        std::vector<std::string_view> path; ///< "*" stands for any one segment
        std::vector<std::string_view> methods;
        Answer (Server::*handle)(const Request&) const;
    };
    static const std::vector<Route>& routes();

    static void requestCame(SoupServer*, SoupServerMessage*, const char*, GHashTable*, void* self);
    static void liveRequestCame(SoupServer*, SoupServerMessage*, const char*, GHashTable*, void* self);
    static void socketCame(SoupServer*, SoupServerMessage*, const char*, SoupWebsocketConnection*, void* self);

    static Answer refuse(const Refusal&);
    static Answer success(boost::json::object more = {});
    static void respond(SoupServerMessage*, const Answer&);

    void listen(std::uint16_t port);
    Answer answer(const Request&) const;
    void checkHead(const Request&) const;
    void checkToken(std::string_view token) const;
    Answer navigate(const Request&) const;
    Answer join(const Request&) const;
    Answer play(const Request&) const;
    Answer quit(const Request&) const;
    Answer page(const Request&) const;
    Answer recording(const Request&) const;
    std::string hostOf(SoupServerMessage*) const;

    Conference& m_conference;
    const TokenRule& m_tokens;
    std::string m_host;
    GObjectPointer<SoupServer> m_server;
    unsigned m_sweep = 0;
};

} // namespace tq::conference
