// Scripts that run in pages, and messages that come from them.

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSJSONSerialization.h"
#include "WKWebViewImpl.h"

#include <cassert>
#include <utility>

namespace tq {

namespace {

void addScripts(WebKitUserContentManager* manager, const std::vector<WKUserScript>& scripts)
{
    for (const auto& script : scripts) {
        std::vector<const char*> allowList;
        for (const auto& pattern : script.allowList)
            allowList.push_back(pattern.c_str());
        allowList.push_back(nullptr);
        const auto frames = script.frames == WKUserScriptFrames::All ? WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES
                                                                     : WEBKIT_USER_CONTENT_INJECT_TOP_FRAME;
        const auto time = script.injectionTime == WKUserScriptInjectionTime::AtDocumentStart
            ? WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START
            : WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_END;
        const auto* allowed = script.allowList.empty() ? nullptr : allowList.data();
        auto* native = script.contentWorld.empty()
            ? webkit_user_script_new(script.source.c_str(), frames, time, allowed, nullptr)
            : webkit_user_script_new_for_world(
                script.source.c_str(), frames, time, script.contentWorld.c_str(), allowed, nullptr);
        webkit_user_content_manager_add_script(manager, native);
        webkit_user_script_unref(native);
    }
}

const char* nameOf(const std::string& contentWorld) { return contentWorld.empty() ? nullptr : contentWorld.c_str(); }

OptionalValue bodyOf(JSCValue* value, OptionalText&& text)
{
    if (text)
        return boost::json::value(*text);
    const GCharPointer json(jsc_value_to_json(value, 0));
    return json ? NSJSONSerialization::JSONObjectWithData(json.get()) : std::nullopt;
}

// What nobody has answered the engine answers itself, when it goes.
class Reply final : public WKScriptMessageReply {
public:
    Reply(WebKitScriptMessageReply* reply, JSCValue* message)
        : m_reply(webkit_script_message_reply_ref(reply))
        , m_context(retained(jsc_value_get_context(message)))
    {
    }
    ~Reply() override { returnError("nobody has answered"); }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;

    void returnText(std::string_view text) override
    {
        const auto reply = std::move(m_reply);
        if (!reply)
            return;
        const GBytesPointer bytes(g_bytes_new_static(text.data(), text.size()));
        const GObjectPointer<JSCValue> value(jsc_value_new_string_from_bytes(m_context.get(), bytes.get()));
        webkit_script_message_reply_return_value(reply.get(), value.get());
    }
    void returnError(std::string_view message) override
    {
        if (const auto reply = std::move(m_reply))
            webkit_script_message_reply_return_error_message(reply.get(), std::string(message).c_str());
    }

private:
    std::unique_ptr<WebKitScriptMessageReply, Releaser<webkit_script_message_reply_unref>> m_reply;
    const GObjectPointer<JSCContext> m_context;
};

} // namespace

// The text of a value that is one.
OptionalText WKWebView::Impl::textOf(JSCValue* value)
{
    if (!jsc_value_is_string(value))
        return std::nullopt;
    const GBytesPointer bytes(jsc_value_to_string_as_bytes(value));
    gsize size = 0;
    const auto* text = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
    return std::string(text, size);
}

WKWebView::Impl::MessagePort::MessagePort(Impl& impl, std::string name, MessageHandler handler)
    : m_impl(impl)
    , m_name(std::move(name))
    , m_handler(std::move(handler))
    , m_connection(impl.userContentManager.get(),
          ((m_handler.answering ? "script-message-with-reply-received::" : "script-message-received::") + m_name)
              .c_str(),
          m_handler.answering ? G_CALLBACK(asked) : G_CALLBACK(received), this)
{
    const auto enter = m_handler.answering ? webkit_user_content_manager_register_script_message_handler_with_reply
                                           : webkit_user_content_manager_register_script_message_handler;
    enter(impl.userContentManager.get(), m_name.c_str(), nameOf(m_handler.contentWorld));
}

WKWebView::Impl::MessagePort::~MessagePort()
{
    webkit_user_content_manager_unregister_script_message_handler(
        m_impl.userContentManager.get(), m_name.c_str(), nameOf(m_handler.contentWorld));
}

void WKWebView::Impl::MessagePort::received(WebKitUserContentManager*, JSCValue* value, gpointer port)
{
    const auto& self = *static_cast<const MessagePort*>(port);
    const EngineCall call(&self.m_impl);
    if (call.isTooLate())
        return;
    // The handler may be taken away while it runs, and the port with it.
    const WKScriptMessage message{ self.m_name, bodyOf(value, textOf(value)) };
    runGuarded([&, handler = self.m_handler.handler] { handler->didReceiveScriptMessage(message); });
}

gboolean WKWebView::Impl::MessagePort::asked(
    WebKitUserContentManager*, JSCValue* value, WebKitScriptMessageReply* reply, gpointer port)
{
    const auto& self = *static_cast<const MessagePort*>(port);
    const EngineCall call(&self.m_impl);
    const auto answer = std::make_shared<Reply>(reply, value);
    if (call.isTooLate())
        return TRUE;
    WKScriptMessage message{ self.m_name, bodyOf(value, textOf(value)) };
    runGuarded(
        [&, handler = self.m_handler.answering] { handler->didReceiveScriptMessage(std::move(message), answer); });
    return TRUE;
}

void WKWebView::Impl::setUserContent(const WKUserContentController& configured, const WKUserContentController& own)
{
    auto* manager = userContentManager.get();
    webkit_user_content_manager_remove_all_scripts(manager);
    addScripts(manager, configured.userScripts());
    addScripts(manager, own.userScripts());

    auto wanted = own.scriptMessageHandlers();
    wanted.insert(configured.scriptMessageHandlers().begin(), configured.scriptMessageHandlers().end());
    // Pages that are there already keep what stays.
    std::erase_if(messagePorts, [&](const auto& port) {
        const auto found = wanted.find(port->name());
        return found == wanted.end() || found->second != port->handler();
    });
    for (const auto& port : messagePorts)
        wanted.erase(port->name());
    for (const auto& [name, handler] : wanted)
        messagePorts.push_back(std::make_unique<MessagePort>(*this, name, handler));
}

void WKWebView::setOwnUserContent(const WKUserContentController& content)
{
    assert(isMainThread());
    m_impl->setUserContent(*m_configuration->userContentController, content);
}

} // namespace tq
