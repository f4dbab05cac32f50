#include "ServerCertificates.h"

#include "../Foundation/Dispatch.h"

#include <chrono>
#include <utility>

namespace tq {

namespace {

constexpr std::chrono::seconds kPatience{ 5 };

} // namespace

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

// One handshake; it lives until that ends.
template <class Round> struct Handshake {
    std::shared_ptr<Round> round;
    std::string host;
    GObjectPointer<GSocketClient> client{ g_socket_client_new() };

    static void begin(const std::shared_ptr<Round>& round, GSocketConnectable* server)
    {
        auto* self = new Handshake{ round, g_network_address_get_hostname(G_NETWORK_ADDRESS(server)) };
        ++round->open;
        g_socket_client_set_tls(self->client.get(), TRUE);
        g_signal_connect(self->client.get(), "event", G_CALLBACK(happened), self);
        g_socket_client_connect_async(self->client.get(), server, round->cancellable.get(), ended, self);
    }
    static void happened(
        GSocketClient*, GSocketClientEvent event, GSocketConnectable*, GIOStream* connection, gpointer self)
    {
        if (event == G_SOCKET_CLIENT_TLS_HANDSHAKING)
            g_signal_connect(connection, "accept-certificate", G_CALLBACK(refused), self);
    }
    // Nothing is said to the server after its handshake: it is only let to end.
    static gboolean refused(GTlsConnection*, GTlsCertificate* certificate, GTlsCertificateFlags, gpointer data)
    {
        const auto& self = *static_cast<Handshake*>(data);
        if (self.round->take)
            self.round->take(self.host, certificate);
        return TRUE;
    }
    static void ended(GObject*, GAsyncResult* result, gpointer data)
    {
        const std::unique_ptr<Handshake> self(static_cast<Handshake*>(data));
        const GObjectPointer<GSocketConnection> connection(
            g_socket_client_connect_finish(self->client.get(), result, nullptr));
        if (connection)
            g_io_stream_close_async(G_IO_STREAM(connection.get()), G_PRIORITY_DEFAULT, nullptr, nullptr, nullptr);
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
        const GObjectPointer<GSocketConnectable> address(
            server.starts_with("https:") ? g_network_address_parse_uri(server.c_str(), 443, nullptr) : nullptr);
        if (address)
            Handshake<Round>::begin(m_round, address.get());
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
