#include "bench/Toolkit.h"

#include <gtk/gtk.h>
#include <memory>
#include <utility>
#include <webkit/webkit.h>

// The linker puts this one before the engine's own: what the engine does about a load is not the library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {
void __real_webkit_web_view_load_uri(WebKitWebView*, const gchar*);
void __wrap_webkit_web_view_load_uri(WebKitWebView* view, const gchar* uri)
{
    tq::bench::timeOfLoad() = tq::bench::Clock::now();
    __real_webkit_web_view_load_uri(view, uri);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace tq::bench {

const Port kPort{ .suffix = "", .pageCallLimit = std::nullopt, .engineTextsAreUTF8 = true };

Toolkit::Toolkit()
{
    gtk_init();
    // A turn of the main loop has an end.
    g_timeout_add_seconds(
        1, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
}

Toolkit::~Toolkit() = default;

void turnMainLoop() { g_main_context_iteration(nullptr, TRUE); }

void* showInWindow(void* view)
{
    auto* window = GTK_WINDOW(gtk_window_new());
    gtk_window_set_default_size(window, 400, 300);
    gtk_window_set_child(window, static_cast<GtkWidget*>(view));
    gtk_window_present(window);
    return window;
}

void destroyWindow(void* window) { gtk_window_destroy(static_cast<GtkWindow*>(window)); }

std::optional<Clock::time_point>& timeOfLoad()
{
    static std::optional<Clock::time_point> s_time;
    return s_time;
}

struct EngineText::Native {
    std::string text;
};

EngineText::EngineText(std::string_view text)
    : m_native(std::make_shared<Native>(Native{ std::string(text) }))
{
}

struct BarePage::Impl {
    static gboolean answered(WebKitWebView*, WebKitScriptDialog* dialog, gpointer self)
    {
        const auto answer = static_cast<Impl*>(self)->answer(webkit_script_dialog_get_message(dialog));
        webkit_script_dialog_prompt_set_text(dialog, answer.native().text.c_str());
        return TRUE;
    }

    static gboolean replied(WebKitUserContentManager*, JSCValue* message, WebKitScriptMessageReply* reply, gpointer)
    {
        auto* text
            = jsc_value_new_string(jsc_value_get_context(message), R"([0,[[1,true,{"data":"small result"}]],"1"])");
        webkit_script_message_reply_return_value(reply, text);
        g_object_unref(text);
        return TRUE;
    }

    const Answer answer;
    WebKitWebView* view = nullptr;
    void* window = nullptr;
};

BarePage::BarePage(Answer answer, Texts)
    : m_impl(new Impl{ std::move(answer) })
{
    // As the library's default configuration has them.
    auto* settings = webkit_settings_new();
    webkit_settings_set_media_playback_allows_inline(settings, FALSE);
    webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);
    m_impl->view = static_cast<WebKitWebView*>(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", settings, nullptr));
    g_object_unref(settings);
    g_signal_connect(m_impl->view, "script-dialog", G_CALLBACK(Impl::answered), m_impl.get());
    m_impl->window = showInWindow(m_impl->view);
}

BarePage::~BarePage() { destroyWindow(m_impl->window); }

void BarePage::answerMessages()
{
    auto* manager = webkit_web_view_get_user_content_manager(m_impl->view);
    webkit_user_content_manager_register_script_message_handler_with_reply(manager, "bare", nullptr);
    g_signal_connect(manager, "script-message-with-reply-received::bare", G_CALLBACK(Impl::replied), nullptr);
}

void BarePage::load(const std::string& url) { webkit_web_view_load_uri(m_impl->view, url.c_str()); }

void BarePage::evaluate(std::string_view script)
{
    webkit_web_view_evaluate_javascript(
        m_impl->view, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr, nullptr, nullptr);
}

void BarePage::evaluate(std::string_view script, std::function<void()> then)
{
    const auto ended = [](GObject* view, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<std::function<void()>> told(static_cast<std::function<void()>*>(data));
        if (auto* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, nullptr)) {
            g_free(jsc_value_to_string(value));
            g_object_unref(value);
        }
        (*told)();
    };
    webkit_web_view_evaluate_javascript(m_impl->view, script.data(), static_cast<gssize>(script.size()), nullptr,
        nullptr, nullptr, ended, new std::function<void()>(std::move(then)));
}

} // namespace tq::bench
