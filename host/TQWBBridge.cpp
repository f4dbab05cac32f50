#include "TQWBBridge.h"

#include "PageWatcher.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSData.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"

#include <utility>

namespace tq {

namespace {

bool isEmpty(const OptionalValue& argument)
{
    const auto* map = argument ? argument->if_object() : nullptr;
    return !map || map->empty();
}

// Does so at the end of an event, even when the delegate throws or closes the view.
template <class Task> class AtEnd {
public:
    explicit AtEnd(Task task)
        : m_task(std::move(task))
    {
    }
    ~AtEnd() { runGuarded(m_task); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    const Task m_task;
};

} // namespace

const NSClass& TQWBBridge::staticClass()
{
    static const auto table = NSClass::of<TQWBBridge>("TQWBBridge", &NSObject::staticClass(),
        {
            { "onRecordStart:", &TQWBBridge::onRecordStart },
            { "onRecordEnd:", &TQWBBridge::onRecordEnd },
            { "onStatusChange:", &TQWBBridge::onStatusChange },
            { "onRoomQuited:", &TQWBBridge::onRoomQuited },
            { "onRoomException:", &TQWBBridge::onRoomException },
            { "onLoadStart:", &TQWBBridge::onLoadStart },
            { "onLoadEnd:", &TQWBBridge::onLoadEnd },
            { "onCaptureEnd:", &TQWBBridge::onCaptureEnd },
        });
    return table;
}

template <class Protocol>
std::shared_ptr<Protocol> TQWBBridge::respondingTo(
    WeakDelegate<Protocol> TQWBWebView::*delegate, bool Protocol::Methods::*method) const
{
    return m_webView ? ((*m_webView).*delegate).respondingTo(method) : nullptr;
}

std::shared_ptr<PageWatcher> TQWBBridge::watcher() const
{
    return m_webView ? m_webView->m_pageWatcher.lock() : nullptr;
}

OptionalValue TQWBBridge::onRecordStart(OptionalValue)
{
    NSLog("[TQ:Log] onRecordStart");
    if (auto delegate = respondingTo(&TQWBWebView::m_recordDelegate, &TQWBRecordProtocol::Methods::onWBRecordStart))
        delegate->onWBRecordStart();
    return "onRecordStart";
}

OptionalValue TQWBBridge::onRecordEnd(OptionalValue argument)
{
    NSLog("[TQ:Log] onRecordEnd：" + logged(argument));
    if (auto delegate = respondingTo(&TQWBWebView::m_recordDelegate, &TQWBRecordProtocol::Methods::onWBRecordEnd))
        delegate->onWBRecordEnd(textValue(memberOf(argument, "url")));
    return "onRecordEnd";
}

OptionalValue TQWBBridge::onStatusChange(OptionalValue argument)
{
    NSLog("[TQ:Log] onStatusChange：" + logged(argument));
    if (auto delegate
        = respondingTo(&TQWBWebView::m_permisssionDelegate, &TQWBPermissionProtocol::Methods::onWBPermissionChange))
        delegate->onWBPermissionChange(intValue(memberOf(argument, "status")));
    return "onStatusChange";
}

OptionalValue TQWBBridge::onRoomQuited(OptionalValue)
{
    NSLog("[TQ:Log] onRoomQuited");
    const AtEnd unlinking([this] { setWebView(nullptr); });
    const AtEnd telling([watcher = watcher()] {
        if (watcher)
            watcher->roomWasQuit();
    });
    if (auto delegate
        = respondingTo(&TQWBWebView::m_roomStatusDelegate, &TQWBRoomStatusProtocol::Methods::onWBRoomQuit))
        delegate->onWBRoomQuit();
    return "onRoomQuited";
}

OptionalValue TQWBBridge::onRoomException(OptionalValue argument)
{
    NSLog(TQWBLogLevel::Error, "[TQ:Log] onRoomException：" + logged(argument));
    const AtEnd unlinking([this] { setWebView(nullptr); });
    const TQWBException exception{ .code = integerValue(memberOf(argument, "code")),
        .msg = textValue(memberOf(argument, "msg")) };
    const AtEnd telling([watcher = watcher(), &exception] {
        if (watcher)
            watcher->roomHasFailed(exception);
    });
    if (isEmpty(argument))
        return "onRoomException";
    if (auto delegate
        = respondingTo(&TQWBWebView::m_roomStatusDelegate, &TQWBRoomStatusProtocol::Methods::onWBRoomException))
        delegate->onWBRoomException(exception);
    return "onRoomException";
}

OptionalValue TQWBBridge::onLoadStart(OptionalValue)
{
    NSLog("[TQ:Log] onLoadStart");
    return "onLoadStart";
}

OptionalValue TQWBBridge::onLoadEnd(OptionalValue)
{
    NSLog("[TQ:Log] onLoadEnd");
    if (const auto watcher = this->watcher())
        watcher->pageHasLoaded();
    return "onLoadEnd";
}

OptionalValue TQWBBridge::onCaptureEnd(OptionalValue argument)
{
    NSLog("[TQ:Log] onCaptureEnd");
    auto delegate = respondingTo(&TQWBWebView::m_roomStatusDelegate, &TQWBRoomStatusProtocol::Methods::onWBCaptureEnd);
    if (!delegate)
        return "onCaptureEnd";
    const auto* data = memberOf(argument, "data");
    const auto* text = data ? data->if_string() : nullptr;
    if (text && !text->empty()) {
        const auto bytes = bytesFromBase64(*text);
        delegate->onWBCaptureEnd(bytes ? UIImage::imageWithData(*bytes) : nullptr);
    } else {
        NSLog(TQWBLogLevel::Error, "[TQ:Log] onCaptureEnd Error, base64String is nil");
    }
    return "onCaptureEnd";
}

} // namespace tq
