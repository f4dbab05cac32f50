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

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the toolkit's own
typedef struct _GCancellable GCancellable;
typedef struct _GIOStream GIOStream;
typedef struct _GSocketListener GSocketListener;
// NOLINTEND(bugprone-reserved-identifier)

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
struct Wire {
    /// @returns false when the other end has gone.
    bool send(const std::string& bytes);
    /// Returns when the other end has gone, or the server goes.
    void waitForEnd();

    GIOStream* connection;
    GCancellable* cancellable;
};

/// Answers every request on 127.0.0.1 with bytes that the test chooses, over real TLS, one connection a request.
class HttpsServer {
public:
    /// Does as it likes with a connection, once its request has come. On a thread of the connection's own.
    using Conversation = std::function<void(const ReceivedRequest& request, Wire& wire)>;
    /// How connections begin: with a certificate that `authority` has signed, with a stranger's, or in clear.
    enum class Transport { Trusted, Untrusted, Plain };
    explicit HttpsServer(Conversation conversation, Transport transport = Transport::Trusted);

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

    /// The certificate that signs all trusted servers of this process, as a PEM text.
    static const std::string& authority();
    /// A status line, headers and a body.
    static std::string answerWith(int status, const std::string& body, const std::string& moreHeaders = "");
    /// A page.
    static std::string pageOf(const std::string& html) { return answerWith(200, html, "Content-Type: text/html\r\n"); }

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
