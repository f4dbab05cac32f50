#include "PageWatch.h"

#include "MainThread.h"
#include "Session.h"

namespace tqclient {

void PageWatch::webViewWebContentProcessDidTerminate(tq::WKWebView&)
{
    // The session drops this object when it turns to another view, whose page is another one.
    postToMain([weakThis = weak_from_this()] {
        auto self = weakThis.lock();
        if (auto session = self ? self->m_session.lock() : nullptr)
            session->pageHasDied();
    });
}

} // namespace tqclient
