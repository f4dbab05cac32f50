#include "ServiceSearch.h"

#include "DefaultNavigation.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "navigation/TQWBNaviManager.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"

#include <algorithm>
#include <utility>

namespace tq {

TextList defaultNavigationServers() { return componentsSeparatedBy(kDefaultNavigation, ';'); }

void logServiceFound() { NSLog("[TQ:Log] requestNavis success"); }

void logServiceNotFound(NSUInteger code, const std::string& description)
{
    NSLog(TQWBLogLevel::Error,
        "[TQ:Log] requestNavis failure, errorCode: " + std::to_string(code) + ", errorDescription: " + description);
}

ServiceSearch::ServiceSearch(OptionalText appKey, OptionalText token, Done done)
    : m_appKey(std::move(appKey))
    , m_token(std::move(token))
    , m_done(std::move(done))
    , m_servers(allNaviServers(m_token, defaultNavigationServers()).value_or(TextList()))
{
}

std::shared_ptr<ServiceSearch> ServiceSearch::begin(OptionalText appKey, OptionalText token, Done done)
{
    std::shared_ptr<ServiceSearch> search(new ServiceSearch(std::move(appKey), std::move(token), std::move(done)));
    dispatchToMain([weak = search->weak_from_this()] {
        if (const auto self = weak.lock())
            self->askNext();
    });
    return search;
}

void ServiceSearch::askNext()
{
    if (m_answers.size() == m_servers.size()) {
        fail();
        return;
    }
    const auto& server = m_servers[m_answers.size()];
    TQWBNaviManager::sharedInstance()->attempt(
        { NSURL::URLWithString(server), m_appKey, m_token, TQWhiteBoard::getVersion(), kNavigationTimeout },
        [weak = weak_from_this(), server](const TQWBNaviManager::Attempted& attempted) {
            const auto self = weak.lock();
            if (!self)
                return;
            if (attempted.service) {
                logServiceFound();
                self->m_done(attempted.service, {});
                return;
            }
            self->m_isUntrusted |= self->m_answers.empty() && attempted.error
                && attempted.error->code == NSURLErrorServerCertificateUntrusted;
            self->m_answers.push_back({ server, attempted.code, attempted.description });
            if (attempted.code == TQWBNaviCodeUnauthorized)
                self->fail();
            else
                self->askNext();
        });
}

// What counts is what the first one said, which the token names if it names any, and not what became of a server that
// the user may never have heard of; unless one has refused the token.
void ServiceSearch::fail()
{
    TQWBError error{ TQWBErrorCategory::Network, TQWBNaviCodeInvalidUrl, "invalid navi url", m_answers };
    if (!m_answers.empty()) {
        const bool isRefused = m_answers.back().code == TQWBNaviCodeUnauthorized;
        const auto& answer = isRefused ? m_answers.back() : m_answers.front();
        error.category = isRefused ? TQWBErrorCategory::Token
            : m_isUntrusted        ? TQWBErrorCategory::Certificate
                                   : TQWBErrorCategory::Network;
        error.code = answer.code;
        error.text = answer.text;
    }
    logServiceNotFound(error.code, error.text);
    m_done(nullptr, std::move(error));
}

} // namespace tq
