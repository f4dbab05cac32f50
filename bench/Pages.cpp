#include "Pages.h"

#include "TQWhiteBoardLib/gtk/NativeView.h"
#include "platform/gtk/GLibPointers.h"

#include <cstdlib>
#include <gtk/gtk.h>
#include <iostream>
#include <utility>

namespace tq::bench {

namespace {

GtkWidget* createWindow(GtkWidget* content)
{
    auto* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 400, 300);
    gtk_window_set_child(GTK_WINDOW(window), content);
    gtk_window_present(GTK_WINDOW(window));
    return window;
}

} // namespace

void runUntil(const std::function<bool()>& condition, const std::string& what)
{
    const auto deadline = Clock::now() + std::chrono::minutes(2);
    const auto wake = g_timeout_add_seconds(
        1, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!condition()) {
        if (Clock::now() > deadline) {
            std::cerr << "bench: waited in vain until " << what << "\n";
            std::exit(1);
        }
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(wake);
}

std::string pageWith(const std::string& script)
{
    const GCharPointer escaped(g_uri_escape_string(
        ("<!doctype html><meta charset=utf-8><script>" + script + "</script>").c_str(), nullptr, FALSE));
    return std::string("data:text/html;charset=utf-8,") + escaped.get();
}

BarePage::BarePage(Answer answer)
    : m_answer(std::move(answer))
{
    // As the library's default configuration has them.
    auto* settings = webkit_settings_new();
    webkit_settings_set_media_playback_allows_inline(settings, FALSE);
    webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);
    m_view = static_cast<WebKitWebView*>(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", settings, nullptr));
    g_object_unref(settings);
    g_signal_connect(m_view, "script-dialog",
        G_CALLBACK(+[](WebKitWebView*, WebKitScriptDialog* dialog, gpointer self) -> gboolean {
            const char* text = static_cast<BarePage*>(self)->m_answer(
                webkit_script_dialog_get_message(dialog), webkit_script_dialog_prompt_get_default_text(dialog));
            if (text)
                webkit_script_dialog_prompt_set_text(dialog, text);
            return TRUE;
        }),
        this);
    m_window = createWindow(GTK_WIDGET(m_view));
}

BarePage::~BarePage() { gtk_window_destroy(GTK_WINDOW(m_window)); }

void BarePage::evaluate(std::string_view script)
{
    webkit_web_view_evaluate_javascript(
        m_view, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr, nullptr, nullptr);
}

const NSClass& DoneListener::staticClass()
{
    static const NSClass table("DoneListener", &NSObject::staticClass(), { { "done:", &DoneListener::done } });
    return table;
}

BridgePage::BridgePage()
    : m_view(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr))
    , m_window(createWindow(nativeView(*m_view)))
{
}

BridgePage::~BridgePage() { gtk_window_destroy(GTK_WINDOW(m_window)); }

} // namespace tq::bench
