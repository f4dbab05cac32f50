#pragma once

#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/WeakDelegate.h"

#include <memory>

namespace tq {

class PageWatcher;
class TQWBWebView;

/// Answers the events that a room's page reports and hands them to the view's delegates. Main thread, but for its
/// destruction.
///
/// It holds its view, which holds it: the two keep each other alive until the page reports that the room was quit or
/// has failed, or the view is closed. Afterwards events are still logged and answered, and reach no delegate.
class TQWBBridge final : public NSObject {
public:
    static const NSClass& staticClass();
    const NSClass& objectClass() const override { return staticClass(); }

    const std::shared_ptr<TQWBWebView>& webView() const { return m_webView; }
    void setWebView(std::shared_ptr<TQWBWebView> webView) { m_webView = std::move(webView); }

    // What the page calls. Each returns its own name.
    OptionalValue onRecordStart(OptionalValue argument);
    OptionalValue onRecordEnd(OptionalValue argument);
    OptionalValue onStatusChange(OptionalValue argument);
    OptionalValue onRoomQuited(OptionalValue argument);
    OptionalValue onRoomException(OptionalValue argument);
    OptionalValue onLoadStart(OptionalValue argument);
    OptionalValue onLoadEnd(OptionalValue argument);
    OptionalValue onCaptureEnd(OptionalValue argument);

private:
    // The view's delegate if it is there and has the method.
    template <class Protocol>
    std::shared_ptr<Protocol> respondingTo(
        WeakDelegate<Protocol> TQWBWebView::*delegate, bool Protocol::Methods::*method) const;
    std::shared_ptr<PageWatcher> watcher() const;

    std::shared_ptr<TQWBWebView> m_webView;
};

} // namespace tq
