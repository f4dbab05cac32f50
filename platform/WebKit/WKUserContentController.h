#pragma once

#include "WKScriptMessageHandler.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tq {

/// When a user script runs.
enum class WKUserScriptInjectionTime { AtDocumentStart = 0, AtDocumentEnd = 1 };

/// Which frames a user script runs in.
enum class WKUserScriptFrames { All, MainFrameOnly };

/// A script that runs in every page of a view.
struct WKUserScript {
    /// The text of the script.
    std::string source;
    /// When it runs.
    WKUserScriptInjectionTime injectionTime = WKUserScriptInjectionTime::AtDocumentStart;
    /// Where it runs.
    WKUserScriptFrames frames = WKUserScriptFrames::All;
    /// This slice's own: the addresses of the pages that it runs in, as "https://host/*"; a port cannot be named, and
    /// is not asked about. Empty: every page.
    std::vector<std::string> allowList = {};
    /// The world it runs in, by name: it sees the page there, and none of the page's scripts sees it. Empty: the page's
    /// own.
    std::string contentWorld = {};

    /// The same in every field.
    bool operator==(const WKUserScript&) const = default;
};

/// The user scripts of a view, in the order in which they were added, and who takes the messages of its pages. Complete
/// it before the view is made.
class WKUserContentController {
public:
    /// Adds a script after the others.
    void addUserScript(WKUserScript script) { m_userScripts.push_back(std::move(script)); }
    /// All of them, in order.
    const std::vector<WKUserScript>& userScripts() const { return m_userScripts; }

    /// Gives every frame `window.webkit.messageHandlers.NAME`, in the place of an earlier handler of that name. The
    /// controller and its views hold the handler.
    /// @param handler absent: nothing happens.
    /// @param contentWorld the world whose scripts may send to it; empty: the page's own.
    void addScriptMessageHandler(
        std::shared_ptr<WKScriptMessageHandler> handler, std::string contentWorld, std::string name)
    {
        if (handler)
            m_scriptMessageHandlers.insert_or_assign(
                std::move(name), MessageHandler{ std::move(handler), nullptr, std::move(contentWorld) });
    }
    /// The same for the page's own world.
    void addScriptMessageHandler(std::shared_ptr<WKScriptMessageHandler> handler, std::string name)
    {
        addScriptMessageHandler(std::move(handler), {}, std::move(name));
    }

    /// The same for a handler that answers: `postMessage` returns a Promise of the answer then.
    void addScriptMessageHandlerWithReply(
        std::shared_ptr<WKScriptMessageHandlerWithReply> handler, std::string contentWorld, std::string name)
    {
        if (handler)
            m_scriptMessageHandlers.insert_or_assign(
                std::move(name), MessageHandler{ nullptr, std::move(handler), std::move(contentWorld) });
    }

    /// A handler, of the one kind or the other, and whose it is.
    struct MessageHandler {
        /// Null where it answers.
        std::shared_ptr<WKScriptMessageHandler> handler;
        /// Null where it does not answer.
        std::shared_ptr<WKScriptMessageHandlerWithReply> answering;
        /// Empty: the page's own.
        std::string contentWorld;
        /// The same handler in the same world.
        bool operator==(const MessageHandler&) const = default;
    };
    /// All of them, by name.
    const std::map<std::string, MessageHandler>& scriptMessageHandlers() const { return m_scriptMessageHandlers; }

private:
    std::vector<WKUserScript> m_userScripts;
    std::map<std::string, MessageHandler> m_scriptMessageHandlers;
};

} // namespace tq
