#pragma once

#include "PagePort.h"
#include "platform/Foundation/NSObject.h"
#include "platform/WebKit/WKUserContentController.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tq {

class DWKWebView;

/// Calls that come as messages and do not stop their page. A page half opens its port by a call that does, so that it
/// is certain whose it is, and names it in every message; ports are closed when their page goes. Main thread.
class PagePorts final : public NSObject,
                        public WKScriptMessageHandlerWithReply,
                        public std::enable_shared_from_this<PagePorts> {
public:
    static constexpr const char* kNamespace = "_tq";
    /// By this name a page fetches a large result, whose message is the answer as it stands.
    static constexpr std::string_view kFetch = "_tq.fetch";

    static const NSClass& staticClass();
    const NSClass& objectClass() const override { return staticClass(); }

    explicit PagePorts(std::weak_ptr<DWKWebView> view);
    ~PagePorts() override;

    /// Adds what pages need.
    void addTo(WKUserContentController& content);
    /// A page has begun to wait for the answer to a prompt, so it does not send messages without end. Makes the calls
    /// of those that came before.
    /// @returns false when they are too many for one turn of the main loop; answer the prompt by answerLater then.
    bool catchUp();
    /// Calls a function once all calls that have come before are made.
    void answerLater(std::function<void()> answer);
    /// Closes all ports, and rejects the messages that have not been answered.
    void close();

    /// Opens a port. @param request the page's "receiver". @returns absent where there can be none.
    OptionalValue open(OptionalValue request);

    /// Answers such a call.
    std::string fetch(std::optional<std::string_view> argumentMessage);

    void didReceiveScriptMessage(
        WKScriptMessage&& message, const std::shared_ptr<WKScriptMessageReply>& reply) override;

private:
    // Messages that came before the page could have read an answer.
    struct Unanswered {
        std::size_t messages = 0;
        std::size_t bytes = 0;
    };
    struct OpenPort {
        std::shared_ptr<PagePort> port;
        bool isOfMainFrame = false;
    };
    /// What is to be done next: calls of a message, or an answer that the page waits for.
    struct Work;

    static void endPage(DWKWebView& view, std::string_view reason);
    bool isFlooded(std::size_t bytes);
    void work();
    void workSoon();
    static void perform(DWKWebView& view, Work& message);

    const std::weak_ptr<DWKWebView> m_view;
    std::map<std::string, OpenPort, std::less<>> m_ports;
    // How many pages have gone.
    std::uint64_t m_pages = 0;
    Unanswered m_unanswered;
    std::deque<std::shared_ptr<Work>> m_work;
    bool m_isWorkDue = false;
};

} // namespace tq
