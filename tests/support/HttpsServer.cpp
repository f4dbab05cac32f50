#include "HttpsServer.h"

#include "apps/conference/Certificate.h"
#include "platform/gtk/GLibPointers.h"
#include "tests/support/Content.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <gio/gio.h>
#include <stdexcept>

namespace tq::test {

namespace {

const conference::Certificate& certificate(HttpsServer::Transport transport = HttpsServer::Transport::Trusted)
{
    const auto madeIn = [](const char* name) {
        const auto folder = std::filesystem::path(getenv("XDG_DATA_HOME")) / name;
        std::filesystem::create_directories(folder);
        return conference::Certificate::ensure(folder, std::time(nullptr));
    };
    static const auto s_trusted = madeIn("server");
    static const auto s_stranger = madeIn("stranger");
    return transport == HttpsServer::Transport::Untrusted ? s_stranger : s_trusted;
}

std::size_t bodyLength(const std::string& head)
{
    const auto field = head.find("\r\nContent-Length: ");
    return field == std::string::npos ? 0 : std::stoul(head.substr(field + 18));
}

bool readMore(GInputStream* input, GCancellable* cancellable, std::string& bytes)
{
    std::array<char, 4096> buffer{};
    const auto count = g_input_stream_read(input, buffer.data(), buffer.size(), cancellable, nullptr);
    if (count > 0)
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0;
}

bool readRequest(GInputStream* input, GCancellable* cancellable, ReceivedRequest& request)
{
    std::string bytes;
    while (bytes.find("\r\n\r\n") == std::string::npos) {
        if (!readMore(input, cancellable, bytes))
            return false;
    }
    const auto end = bytes.find("\r\n\r\n") + 2;
    request.head = bytes.substr(0, end);
    request.body = bytes.substr(end + 2);
    while (request.body.size() < bodyLength(request.head)) {
        if (!readMore(input, cancellable, request.body))
            return false;
    }
    return true;
}

GObjectPointer<GIOStream> secured(GIOStream* plain, const conference::Certificate& files)
{
    const GObjectPointer<GTlsCertificate> tls(
        g_tls_certificate_new_from_files(files.serverFile().c_str(), files.keyFile().c_str(), nullptr));
    return GObjectPointer<GIOStream>(g_tls_server_connection_new(plain, tls.get(), nullptr));
}

} // namespace

bool Wire::send(const std::string& bytes)
{
    return g_output_stream_write_all(
               g_io_stream_get_output_stream(connection), bytes.data(), bytes.size(), nullptr, cancellable, nullptr)
        != FALSE;
}

void Wire::waitForEnd()
{
    std::string ignored;
    while (readMore(g_io_stream_get_input_stream(connection), cancellable, ignored)) { }
}

HttpsServer::HttpsServer(Answer answer)
    : HttpsServer(
        [answer = std::move(answer)](const ReceivedRequest& request, Wire& wire) { wire.send(answer(request)); })
{
}

HttpsServer::HttpsServer(Conversation conversation, Transport transport)
    : m_conversation(std::move(conversation))
    , m_transport(transport)
    , m_listener(g_socket_listener_new())
    , m_cancellable(g_cancellable_new())
{
    certificate();
    const GObjectPointer<GInetAddress> loopback(g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4));
    const GObjectPointer<GSocketAddress> address(g_inet_socket_address_new(loopback.get(), 0));
    GSocketAddress* bound = nullptr;
    if (!g_socket_listener_add_address(
            m_listener, address.get(), G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP, nullptr, &bound, nullptr))
        throw std::runtime_error("the test's server cannot listen");
    m_host = "localhost:" + std::to_string(g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(bound)));
    g_object_unref(bound);
    m_thread = std::thread([this] { serve(); });
}

HttpsServer::~HttpsServer()
{
    g_cancellable_cancel(m_cancellable);
    m_thread.join();
    g_object_unref(m_listener);
    g_object_unref(m_cancellable);
}

void HttpsServer::serve()
{
    std::vector<std::jthread> conversations;
    while (!g_cancellable_is_cancelled(m_cancellable)) {
        const GObjectPointer<GSocketConnection> plain(
            g_socket_listener_accept(m_listener, nullptr, m_cancellable, nullptr));
        if (!plain)
            continue;
        ++m_connections;
        // A client may open a connection and say nothing for long.
        conversations.emplace_back([this, held = retained(plain.get())] { converse(G_IO_STREAM(held.get())); });
    }
}

void HttpsServer::converse(GIOStream* plain)
{
    const auto connection
        = m_transport == Transport::Plain ? retained(plain) : secured(plain, certificate(m_transport));
    ReceivedRequest request;
    if (!readRequest(g_io_stream_get_input_stream(connection.get()), m_cancellable, request))
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
    }
    Wire wire{ connection.get(), m_cancellable };
    m_conversation(request, wire);
    g_io_stream_close(connection.get(), m_cancellable, nullptr);
}

std::vector<ReceivedRequest> HttpsServer::requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

std::vector<ReceivedRequest> HttpsServer::requests(const std::string& path) const
{
    auto found = requests();
    std::erase_if(found, [&](const auto& request) { return request.path() != path; });
    return found;
}

const std::string& HttpsServer::authority()
{
    static const std::string s_text = contentOf(certificate().authorityFile());
    return s_text;
}

std::string HttpsServer::answerWith(int status, const std::string& body, const std::string& moreHeaders)
{
    return "HTTP/1.1 " + std::to_string(status) + " Answer\r\nConnection: close\r\n" + moreHeaders
        + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::uint16_t refusingPort()
{
    // Bound and not listening: connections are refused, and nobody else gets the port.
    static GSocket* s_socket = [] {
        auto* socket = g_socket_new(G_SOCKET_FAMILY_IPV4, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP, nullptr);
        const GObjectPointer<GInetAddress> loopback(g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4));
        const GObjectPointer<GSocketAddress> address(g_inet_socket_address_new(loopback.get(), 0));
        g_socket_bind(socket, address.get(), FALSE, nullptr);
        return socket;
    }();
    const GObjectPointer<GSocketAddress> address(g_socket_get_local_address(s_socket, nullptr));
    return g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(address.get()));
}

} // namespace tq::test
