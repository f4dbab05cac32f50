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

OptionalValue bodyOf(JSCValue* value)
{
    const GCharPointer json(jsc_value_to_json(value, 0));
    return json ? NSJSONSerialization::JSONObjectWithData(json.get()) : std::nullopt;
}

} // namespace

WKWebView::Impl::MessagePort::MessagePort(Impl& impl, std::string name, MessageHandler handler)
    : m_impl(impl)
    , m_name(std::move(name))
    , m_handler(std::move(handler))
    , m_connection(
          impl.userContentManager.get(), ("script-message-received::" + m_name).c_str(), G_CALLBACK(received), this)
{
    webkit_user_content_manager_register_script_message_handler(
        impl.userContentManager.get(), m_name.c_str(), nameOf(m_handler.contentWorld));
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
    const WKScriptMessage message{ self.m_name, bodyOf(value) };
    runGuarded([&, handler = self.m_handler.handler] { handler->didReceiveScriptMessage(message); });
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
