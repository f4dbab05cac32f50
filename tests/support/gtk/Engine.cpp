#include "tests/support/Engine.h"

#include "EngineView.h"
#include "tests/support/MainLoop.h"

namespace tq::test {

const EngineTraits kEngine{ .cutsTextsAtZero = true,
    .refusesWindowsByNull = true,
    .tellsAnswersFirst = true,
    .explainsFailures = true,
    .namesPagesToCome = true,
    .tellsFrames = false,
    .goesOnWithinCalls = true,
    .waitsWithoutRequests = true,
    .putsPagesAway = true,
    .runsScriptsInEmptyFrames = true,
    .pagesFrame = "global code@",
    .unknownFunction = "ReferenceError: Can't find variable: undefinedFunction",
    .evaluatedIn = "data:text/html;charset",
    .evaluatedAt = ":2:13)" };

bool readsTiff() { return true; }

void crashPage(const WKWebView& view) { webkit_web_view_terminate_web_process(engineOf(view)); }

struct EngineWatch::Impl {
    WebKitWebView* engine;
    bool isGone = false;
    std::function<void()> after;
};

EngineWatch::EngineWatch(const WKWebView& view)
    : m_impl(std::make_unique<Impl>(Impl{ engineOf(view), false, nullptr }))
{
    g_object_weak_ref(
        G_OBJECT(m_impl->engine), [](gpointer impl, GObject*) { static_cast<Impl*>(impl)->isGone = true; },
        m_impl.get());
}

EngineWatch::~EngineWatch()
{
    runUntil([this] { return m_impl->isGone; }, "the engine's view is gone");
}

void EngineWatch::repeatProgress() const { g_object_notify(G_OBJECT(m_impl->engine), "estimated-load-progress"); }

void EngineWatch::afterProgress(std::function<void()> after)
{
    m_impl->after = std::move(after);
    g_signal_connect_after(m_impl->engine, "notify::estimated-load-progress",
        G_CALLBACK(+[](GObject*, GParamSpec*, gpointer impl) { static_cast<Impl*>(impl)->after(); }), m_impl.get());
}

EngineEvents::EngineEvents(Kind kind)
{
    const auto signal
        = g_signal_lookup(kind == Crashes ? "web-process-terminated" : "script-dialog", WEBKIT_TYPE_WEB_VIEW);
    const auto hook = g_signal_add_emission_hook(
        signal, 0,
        [](GSignalInvocationHint*, guint, const GValue*, gpointer count) -> gboolean {
            ++*static_cast<int*>(count);
            return TRUE;
        },
        &m_count, nullptr);
    m_connection = { nullptr, [signal, hook](void*) { g_signal_remove_emission_hook(signal, hook); } };
}

bool isInspectorAllowed(const WKWebView& view)
{
    return webkit_settings_get_enable_developer_extras(webkit_web_view_get_settings(engineOf(view)));
}

} // namespace tq::test
