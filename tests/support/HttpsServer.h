#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

typedef struct _GCancellable GCancellable;
typedef struct _GIOStream GIOStream;
typedef struct _GSocketListener GSocketListener;
typedef struct _GTlsCertificate GTlsCertificate;

namespace tq::test {

/// A request as it came over the wire.
struct ReceivedRequest {
    std::string head;
    std::string body;

    std::string line() const { return head.substr(0, head.find("\r\n")); }
    /// What was asked for, from its first slash.
    std::string path() const
    {
        const auto begin = head.find(' ') + 1;
        return head.substr(begin, head.find(' ', begin) - begin);
    }
    bool hasHeader(const std::string& wholeLine) const
    {
        return head.find("\r\n" + wholeLine + "\r\n") != std::string::npos;
    }
};

/// A value that a test changes while a server reads it.
template <class T> class Shared {
public:
    explicit Shared(T value)
        : m_value(std::move(value))
    {
    }
    void set(T value)
    {
        const std::lock_guard lock(m_mutex);
        m_value = std::move(value);
    }
    T get() const
    {
        const std::lock_guard lock(m_mutex);
        return m_value;
    }

private:
    mutable std::mutex m_mutex;
    T m_value;
};

/// The server's end of a connection, for servers that fail in the middle of an answer.
class Wire {
public:
    Wire(GIOStream* plain, GIOStream* connection, GCancellable* cancellable)
        : m_plain(plain)
        , m_connection(connection)
        , m_cancellable(cancellable)
    {
    }
    /// @returns false when the other end has gone.
    bool send(const std::string& bytes);
    /// The other end learns of it as of a machine that has crashed and come back.
    void reset();
    /// Returns when the other end has said something more or gone, or the server goes.
    void waitForMore();
    /// Returns when the other end has gone, or the server goes.
    void waitForEnd();

private:
    GIOStream* m_plain;
    GIOStream* m_connection;
    GCancellable* m_cancellable;
};

/// Answers every request on 127.0.0.1 with bytes that the test chooses, over real TLS, one connection a request.
class HttpsServer {
public:
    /// Does as it likes with a connection, once its request has come. On a thread of the connection's own.
    using Conversation = std::function<void(const ReceivedRequest& request, Wire& wire)>;
    /// How connections begin.
    struct Transport {
        /// A certificate and its key as a PEM text; empty: those that `authority` has signed.
        std::string identity;
        bool isPlain = false;
    };
    HttpsServer(Conversation conversation, Transport transport);

    /// What is sent for a request, byte for byte. Empty: the connection is closed without an answer.
    using Answer = std::function<std::string(const ReceivedRequest&)>;

    explicit HttpsServer(Answer answer);
    ~HttpsServer();
    HttpsServer(const HttpsServer&) = delete;
    HttpsServer& operator=(const HttpsServer&) = delete;

    /// "localhost:PORT".
    const std::string& host() const { return m_host; }
    std::vector<ReceivedRequest> requests() const;
    /// Those for one path.
    std::vector<ReceivedRequest> requests(const std::string& path) const;
    /// How many there have been, with a request or without.
    int connections() const { return m_connections; }

    /// The certificate that signs all servers of this process, as a PEM text.
    static const std::string& authority();
    /// A status line, headers and a body.
    static std::string answerWith(int status, const std::string& body, const std::string& moreHeaders = "");
    /// A page.
    static std::string pageOf(const std::string& html) { return answerWith(200, html, "Content-Type: text/html\r\n"); }
    /// The server's half of a WebSocket's beginning.
    static std::string webSocketAnswer(const ReceivedRequest& request);

private:
    void serve();
    void converse(GIOStream* plain);

    Conversation m_conversation;
    Transport m_transport;
    std::atomic<int> m_connections = 0;
    std::string m_host;
    GSocketListener* m_listener = nullptr;
    GCancellable* m_cancellable = nullptr;
    mutable std::mutex m_mutex;
    std::vector<ReceivedRequest> m_requests;
    std::thread m_thread;
};

/// A port of 127.0.0.1 that refuses connections.
std::uint16_t refusingPort();

} // namespace tq::test
