// Which pages the bridge is for.

#include "TQWhiteBoardLib/DWKWebView.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSURL.h"

#include <algorithm>
#include <cassert>

namespace tq {

bool DWKWebView::setAllowedOrigins(const std::optional<std::vector<std::string>>& origins)
{
    assert(isMainThread());
    if (!origins) {
        m_allowedOrigins.reset();
        return true;
    }
    std::vector<std::string> allowed;
    for (const auto& text : *origins) {
        const auto url = NSURL::URLWithString(text);
        const auto origin = url ? url->origin() : std::nullopt;
        // More than an origin would promise a distinction that is not made.
        // Nor does a host stand for others.
        if (!origin || !url->isOriginAlone() || origin->find('*') != origin->npos) {
            NSLog("Js bridge: \"" + text + "\" is no origin, and the allowed ones stay as they were");
            return false;
        }
        allowed.push_back(*origin);
    }
    m_allowedOrigins = std::move(allowed);
    return true;
}

bool DWKWebView::isPageAllowed() const
{
    if (!m_allowedOrigins)
        return true;
    const auto& origin = pageOrigin();
    if (origin && std::ranges::find(*m_allowedOrigins, *origin) != m_allowedOrigins->end())
        return true;
    NSLog("Js bridge: refused for a page of " + (origin ? *origin : "no origin"));
    return false;
}

} // namespace tq
