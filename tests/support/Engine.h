#pragma once

#include "platform/WebKit/WKWebView.h"

#include <functional>
#include <memory>

namespace tq::test {

/// Ends the process of the view's page, as a crash does. The view hears of it later.
void crashPage(const WKWebView&);

/// The engine's half of a view, which must be gone soon after this.
class EngineWatch {
public:
    explicit EngineWatch(const WKWebView&);
    ~EngineWatch();
    EngineWatch(const EngineWatch&) = delete;
    EngineWatch& operator=(const EngineWatch&) = delete;

    /// Has the engine say once more how far the load has come.
    void repeatProgress() const;
    /// Called after the view itself has heard of progress, in the same call of the engine's.
    void afterProgress(std::function<void()>);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Counts what the engine tells any view that there is in this process when the counting begins.
class EngineEvents {
public:
    enum Kind { ScriptDialogs, Crashes };
    explicit EngineEvents(Kind);
    EngineEvents(const EngineEvents&) = delete;
    EngineEvents& operator=(const EngineEvents&) = delete;

    int count() const { return m_count; }

private:
    int m_count = 0;
    std::shared_ptr<void> m_connection;
};

/// What engines do each in their own way.
struct EngineTraits {
    /// A text that goes to a dialog ends at its first zero.
    bool cutsTextsAtZero;
    /// Where nobody opens a window, the page gets null, and not a window that closes soon.
    bool refusesWindowsByNull;
    /// It tells what a server answers before it shows anything of it, and for frames, too; not when the page is there.
    bool tellsAnswersFirst;
    /// It shows a page of its own about a load that has failed.
    bool explainsFailures;
    /// While another page is to come, that one's address is the view's.
    bool namesPagesToCome;
    /// It says which frame of a page calls, and whether a load is a frame's before its server is asked.
    bool tellsFrames;
    /// A main loop that runs within a call of the engine's is told what becomes of pages.
    bool goesOnWithinCalls;
    /// A page whose Permissions-Policy forbids synchronous requests waits for its dialogs all the same.
    bool waitsWithoutRequests;
    /// It keeps a page that another one comes after, for the way back.
    bool putsPagesAway;
    /// Scripts for the start of pages run in a frame that has no address, too.
    bool runsScriptsInEmptyFrames;
    /// How it writes a call in the page's own script, of a function that is not there, ...
    const char* pagesFrame;
    const char* unknownFunction;
    /// ... and the place of one in a script that was evaluated.
    const char* evaluatedIn;
    const char* evaluatedAt;
};
extern const EngineTraits kEngine;

/// Whether the toolkit decodes pictures of this kind, too.
bool readsTiff();

/// Whether the engine's inspector can be opened for a view.
bool isInspectorAllowed(const WKWebView&);

} // namespace tq::test
