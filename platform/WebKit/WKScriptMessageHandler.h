#pragma once

#include "../Foundation/NSTypes.h"

#include <string>

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

} // namespace tq
