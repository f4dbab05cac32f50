#include "ServerCertificates.h"

#include "../Foundation/Dispatch.h"

#include <chrono>
#include <mutex>
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

// The certificate that a handshake has brought. It may go on on a thread of its own.
struct Seen {
    std::mutex mutex;
    GObjectPointer<GTlsCertificate> certificate;
};

// Nothing is said to the server after its handshake: it is only let to end.
gboolean refused(GTlsConnection*, GTlsCertificate* certificate, GTlsCertificateFlags, gpointer data)
{
    auto& seen = **static_cast<std::shared_ptr<Seen>*>(data);
    const std::lock_guard lock(seen.mutex);
    seen.certificate = retained(certificate);
    return TRUE;
}

// One handshake; it lives until that ends.
template <class Round> struct Handshake {
    std::shared_ptr<Round> round;
    std::string host;
    GObjectPointer<GSocketClient> client{ g_socket_client_new() };
    std::shared_ptr<Seen> seen = std::make_shared<Seen>();

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
        using Shared = std::shared_ptr<Seen>;
        if (event != G_SOCKET_CLIENT_TLS_HANDSHAKING)
            return;
        auto* shared = new Shared(static_cast<Handshake*>(self)->seen);
        // What is written until here is seen by whoever locks it next.
        const std::lock_guard lock((*shared)->mutex);
        g_signal_connect_data(
            connection, "accept-certificate", G_CALLBACK(refused), shared,
            [](gpointer data, GClosure*) { delete static_cast<Shared*>(data); }, GConnectFlags(0));
    }
    static void ended(GObject*, GAsyncResult* result, gpointer data)
    {
        const std::unique_ptr<Handshake> self(static_cast<Handshake*>(data));
        const GObjectPointer<GSocketConnection> connection(
            g_socket_client_connect_finish(self->client.get(), result, nullptr));
        if (connection)
            g_io_stream_close_async(G_IO_STREAM(connection.get()), G_PRIORITY_DEFAULT, nullptr, nullptr, nullptr);
        if (const auto certificate = self->takeCertificate(); certificate && self->round->take)
            self->round->take(self->host, certificate.get());
        if (--self->round->open == 0)
            self->round->end();
    }
    GObjectPointer<GTlsCertificate> takeCertificate() const
    {
        const std::lock_guard lock(seen->mutex);
        return std::move(seen->certificate);
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
