// Which pages the bridge is for.

#include "Secret.h"
#include "TQWhiteBoardLib/DWKWebView.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSURL.h"

#include <algorithm>
#include <cassert>

namespace tq {

namespace {

// Tells the main frame of a page of that origin its secret. Pages of another host never have the script; the engine
// does not know ports apart, so the script itself looks whose page it is. It asks nothing that a page can change before
// it is sure of that.
WKUserScript secretScript(const std::string& origin, const std::string& secret)
{
    const auto host = origin.find("://") + 3;
    const auto port = origin.find(':', origin[host] == '[' ? origin.find(']') : host);
    std::string text;
    NSJSONSerialization::appendText(text, origin);
    return { "if (window.location.origin === " + text + ") Object.defineProperty(window, \"_tqframe\", { value: \""
            + secret + "\" });",
        WKUserScriptInjectionTime::AtDocumentStart, WKUserScriptFrames::MainFrameOnly,
        { origin.substr(0, port) + "/*" } };
}

} // namespace

bool DWKWebView::setAllowedOrigins(const std::optional<std::vector<std::string>>& origins)
{
    assert(isMainThread());
    if (!origins) {
        m_allowedOrigins.reset();
        giveUserContent();
        return true;
    }
    std::vector<std::string> allowed;
    for (const auto& text : *origins) {
        const auto url = NSURL::URLWithString(text);
        const auto origin = url ? url->origin() : std::nullopt;
        // More than an origin would promise a distinction that is not made.
        // Nor does a host stand for others.
        if (!origin || !url->isOriginAlone() || origin->find('*') != origin->npos) {
            NSLog(TQWBLogLevel::Warning,
                "Js bridge: \"" + text + "\" is no origin, and the allowed ones stay as they were");
            return false;
        }
        allowed.push_back(*origin);
    }
    m_allowedOrigins = std::move(allowed);
    giveUserContent();
    // Nothing of what is under way may reach it, or come from it.
    if (!isOriginAllowed())
        endCalls(kNotAllowed);
    return true;
}

void DWKWebView::setCallingFrames(CallingFrames frames)
{
    assert(isMainThread());
    m_callingFrames = frames;
    giveUserContent();
}

void DWKWebView::addSecrets(WKUserContentController& content)
{
    if (m_callingFrames != CallingFrames::MainFrameOnly || !m_allowedOrigins)
        return;
    for (const auto& origin : *m_allowedOrigins) {
        auto& secret = m_frameSecrets[origin];
        if (secret.empty())
            secret = newSecret();
        content.addUserScript(secretScript(origin, secret));
    }
}

std::optional<std::string_view> DWKWebView::requiredSecret() const
{
    if (m_callingFrames == CallingFrames::All)
        return std::nullopt;
    // An empty one is nobody's.
    const auto& origin = pageOrigin();
    const auto found = m_allowedOrigins && origin ? m_frameSecrets.find(*origin) : m_frameSecrets.end();
    return found == m_frameSecrets.end() ? std::string_view() : std::string_view(found->second);
}

bool DWKWebView::isOriginAllowed() const { return isOriginAllowed(pageOrigin()); }

bool DWKWebView::isOriginAllowed(const OptionalText& origin) const
{
    return !m_allowedOrigins || (origin && std::ranges::find(*m_allowedOrigins, *origin) != m_allowedOrigins->end());
}

bool DWKWebView::isPageAllowed() const { return isFrameAllowed(pageOrigin()); }

bool DWKWebView::isFrameAllowed(const OptionalText& origin) const
{
    if (isOriginAllowed(origin))
        return true;
    NSLog(TQWBLogLevel::Warning, "Js bridge: refused for a page of " + origin.value_or("no origin"));
    return false;
}

} // namespace tq
