#pragma once

#include "../Foundation/NSTypes.h"

#include <QString>
#include <memory>

class QWebEngineProfile;

namespace tq {

/// A dialog of a page. Where it is not answered at once, the page waits by a request to a scheme of our own: so no
/// event loop of the application's runs within another. Main thread.
class PageQuestion {
public:
    PageQuestion();
    /// Without an answer the user has cancelled.
    ~PageQuestion();
    PageQuestion(const PageQuestion&) = delete;
    PageQuestion& operator=(const PageQuestion&) = delete;

    /// The first answer counts. @param text what a prompt returns, or any text for the user's consent; absent: the
    /// user has cancelled.
    void answer(OptionalText text);
    bool isAnswered() const;
    /// The answer, for one that asks once.
    OptionalText takeText();

    /// What the page waits with.
    struct Ticket;
    /// Lets the page wait. @returns who holds it has the answer kept for the page until the page has asked for it.
    std::shared_ptr<Ticket> giveTicket();
    static const QString& nameOf(const Ticket& ticket);
    static bool isUsed(const Ticket& ticket);

    /// Has the pages of a profile wait for answers.
    static void addTo(QWebEngineProfile& profile);

private:
    const std::shared_ptr<Ticket> m_ticket;
};

/// The scheme at which pages wait.
inline constexpr const char* kAnswerScheme = "tqwb-answer";

} // namespace tq
