#include "PageQuestion.h"

#include "../Foundation/NSJSONSerialization.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QHash>
#include <QPointer>
#include <QRandomGenerator>
#include <QWebEngineProfile>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <QWebEngineUrlSchemeHandler>
#include <string>
#include <utility>

namespace tq {

struct PageQuestion::Ticket {
    void reply();

    QString name;
    OptionalText text;
    // Goes when the page does.
    QPointer<QWebEngineUrlRequestJob> job;
    bool isAnswered = false;
    bool isUsed = false;
};

namespace {

// The engine wants to know schemes before its first use, which comes after the application object.
void registerScheme()
{
    QWebEngineUrlScheme scheme(kAnswerScheme);
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    scheme.setFlags(QWebEngineUrlScheme::SecureScheme | QWebEngineUrlScheme::CorsEnabled
        | QWebEngineUrlScheme::ContentSecurityPolicyIgnored);
    QWebEngineUrlScheme::registerScheme(scheme);
}
Q_COREAPP_STARTUP_FUNCTION(registerScheme)

using Tickets = QHash<QString, std::weak_ptr<PageQuestion::Ticket>>;

Tickets& givenTickets()
{
    static auto& s_tickets = *new Tickets;
    return s_tickets;
}

class Handler final : public QWebEngineUrlSchemeHandler {
public:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    void requestStarted(QWebEngineUrlRequestJob* job) override
    {
        const auto ticket = givenTickets().take(job->requestUrl().path()).lock();
        if (!ticket)
            return job->fail(QWebEngineUrlRequestJob::UrlNotFound);
        ticket->isUsed = true;
        ticket->job = job;
        if (ticket->isAnswered)
            ticket->reply();
    }
};

} // namespace

void PageQuestion::Ticket::reply()
{
    if (!job)
        return;
    std::string json;
    if (!text || !NSJSONSerialization::appendText(json, *text))
        json = "null";
    auto* body = new QBuffer(job);
    body->setData(json.data(), int(json.size()));
    job->reply("application/json", body);
}

PageQuestion::PageQuestion()
    : m_ticket(std::make_shared<Ticket>())
{
}

PageQuestion::~PageQuestion() { answer(std::nullopt); }

void PageQuestion::answer(OptionalText text)
{
    if (std::exchange(m_ticket->isAnswered, true))
        return;
    m_ticket->text = std::move(text);
    m_ticket->reply();
}

bool PageQuestion::isAnswered() const { return m_ticket->isAnswered; }

OptionalText PageQuestion::takeText() { return std::exchange(m_ticket->text, std::nullopt); }

std::shared_ptr<PageQuestion::Ticket> PageQuestion::giveTicket()
{
    auto& random = *QRandomGenerator::system();
    m_ticket->name = QString::number(random.generate64(), 16) + QString::number(random.generate64(), 16);
    auto& given = givenTickets();
    given.removeIf([](const Tickets::iterator& entry) { return entry->expired(); });
    given.insert(m_ticket->name, m_ticket);
    return m_ticket;
}

const QString& PageQuestion::nameOf(const Ticket& ticket) { return ticket.name; }

bool PageQuestion::isUsed(const Ticket& ticket) { return ticket.isUsed; }

void PageQuestion::addTo(QWebEngineProfile& profile)
{
    profile.installUrlSchemeHandler(kAnswerScheme, new Handler(&profile));
}

} // namespace tq
