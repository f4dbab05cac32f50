#pragma once

#include "../Foundation/NSTypes.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tq {

/// What a page has sent by `window.webkit.messageHandlers.NAME.postMessage(value)`.
struct WKScriptMessage {
    /// The handler's name in the page.
    std::string name;
    /// What was sent, as JSON; absent where it is none: undefined, or a value that holds itself, or nested deeper than
    /// 512 levels.
    OptionalValue body;
};

/// Takes messages of pages.
class WKScriptMessageHandler {
public:
    virtual ~WKScriptMessageHandler() = default;

    /// Called on the main thread for every message, in the order in which a page has sent them. The page does not wait.
    /// Every frame of every page of the view may send what it likes. An exception is logged and goes no further.
    virtual void didReceiveScriptMessage(const WKScriptMessage& message) = 0;
};

/// Answers a message of a page, whose `postMessage` has returned a Promise. Main thread; once, whatever is done with it
/// later. A message whose answer has gone unsaid is answered by an error.
class WKScriptMessageReply {
public:
    virtual ~WKScriptMessageReply() = default;

    /// The Promise is fulfilled with a text.
    virtual void returnText(std::string_view text) = 0;
    /// The Promise is rejected with an Error of that message.
    virtual void returnError(std::string_view message) = 0;
};

/// Takes messages of pages that are to be answered.
class WKScriptMessageHandlerWithReply {
public:
    virtual ~WKScriptMessageHandlerWithReply() = default;

    /// Called as `WKScriptMessageHandler::didReceiveScriptMessage` is.
    /// @param message may be taken; it may be large. @param reply never null; may be kept.
    virtual void didReceiveScriptMessage(WKScriptMessage&& message, const std::shared_ptr<WKScriptMessageReply>& reply)
        = 0;
};

} // namespace tq
