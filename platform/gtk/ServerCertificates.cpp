#include "ServerCertificates.h"

#include "../Foundation/Certificates.h"
#include "../Foundation/Dispatch.h"
#include "../Foundation/NSURL.h"

#include <chrono>
#include <utility>

namespace tq {

namespace {

constexpr std::chrono::seconds kPatience{ 5 };

} // namespace

bool holdsCertificate(const std::string& pem)
{
    const GObjectPointer<GTlsCertificate> first(
        g_tls_certificate_new_from_pem(pem.data(), static_cast<gssize>(pem.size()), nullptr));
    return first != nullptr;
}

struct ServerCertificates::Round {
    GObjectPointer<GCancellable> cancellable{ g_cancellable_new() };
    Take take;
    std::function<void()> done;
    // Handshakes that are under way.
    std::size_t open = 0;

    void end()
    {
        take = nullptr;
        g_cancellable_cancel(cancellable.get());
        if (const auto tell = std::exchange(done, nullptr))
            tell();
    }
};

namespace {

// On whatever thread the handshake is made. Nothing is said to the server after it: it is only let to end.
gboolean letEnd(GTlsConnection*, GTlsCertificate*, GTlsCertificateFlags, gpointer) { return TRUE; }

// What the server has shown, unless the system trusts it.
GObjectPointer<GTlsCertificate> untrustedCertificate(GSocketConnection* connection)
{
    auto* stream = G_IS_TCP_WRAPPER_CONNECTION(connection)
        ? g_tcp_wrapper_connection_get_base_io_stream(G_TCP_WRAPPER_CONNECTION(connection))
        : nullptr;
    if (!G_IS_TLS_CONNECTION(stream) || !g_tls_connection_get_peer_certificate_errors(G_TLS_CONNECTION(stream)))
        return nullptr;
    return retained(g_tls_connection_get_peer_certificate(G_TLS_CONNECTION(stream)));
}

// One handshake; it lives until that ends.
template <class Round> struct Handshake {
    std::shared_ptr<Round> round;
    std::string host;
    GObjectPointer<GSocketClient> client{ g_socket_client_new() };

    static void begin(const std::shared_ptr<Round>& round, const NSURL& server)
    {
        auto* self = new Handshake{ round, server.host() };
        // (Which tells the system's proxy settings that it is https.)
        const GObjectPointer<GSocketConnectable> address(
            g_network_address_parse_uri(server.origin()->c_str(), 443, nullptr));
        ++round->open;
        g_socket_client_set_tls(self->client.get(), TRUE);
        g_signal_connect(self->client.get(), "event", G_CALLBACK(happened), nullptr);
        g_socket_client_connect_async(self->client.get(), address.get(), round->cancellable.get(), ended, self);
    }
    static void happened(GSocketClient*, GSocketClientEvent event, GSocketConnectable*, GIOStream* connection, gpointer)
    {
        if (event == G_SOCKET_CLIENT_TLS_HANDSHAKING)
            g_signal_connect(connection, "accept-certificate", G_CALLBACK(letEnd), nullptr);
    }
    static void ended(GObject*, GAsyncResult* result, gpointer data)
    {
        const std::unique_ptr<Handshake> self(static_cast<Handshake*>(data));
        const GObjectPointer<GSocketConnection> connection(
            g_socket_client_connect_finish(self->client.get(), result, nullptr));
        if (connection) {
            const auto certificate = untrustedCertificate(connection.get());
            if (certificate && self->round->take)
                self->round->take(self->host, certificate.get());
            g_io_stream_close_async(G_IO_STREAM(connection.get()), G_PRIORITY_DEFAULT, nullptr, nullptr, nullptr);
        }
        if (--self->round->open == 0)
            self->round->end();
    }
};

} // namespace

ServerCertificates::ServerCertificates(const std::vector<std::string>& servers, Take take, std::function<void()> done)
    : m_round(std::make_shared<Round>())
{
    m_round->take = std::move(take);
    m_round->done = std::move(done);
    for (const auto& server : servers) {
        if (const auto url = NSURL::URLWithString(server); url && url->scheme() == "https")
            Handshake<Round>::begin(m_round, *url);
    }
    const std::weak_ptr<Round> weak = m_round;
    const auto end = [weak] {
        if (const auto round = weak.lock())
            round->end();
    };
    if (m_round->open)
        dispatchToMainAfter(kPatience, end);
    else
        dispatchToMain(end);
}

ServerCertificates::~ServerCertificates()
{
    m_round->done = nullptr;
    m_round->end();
}

} // namespace tq
