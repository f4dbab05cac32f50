#pragma once

#include "WKWebView.h"

#include <memory>

namespace tq {

/// For ports: while one exists, the engine is in the middle of a call to us, and no view is destroyed. Declare it
/// before anything else that may hold the view. Main thread.
class EngineCall {
public:
    explicit EngineCall(WKWebView& view)
        : m_view(view.weak_from_this().lock())
    {
        ++s_depth;
    }
    ~EngineCall()
    {
        // If this was the last reference, the view's destruction is queued.
        m_view.reset();
        --s_depth;
    }
    EngineCall(const EngineCall&) = delete;
    EngineCall& operator=(const EngineCall&) = delete;

    /// The last reference to the view is gone, and its destruction is on its way.
    bool isTooLate() const { return !m_view; }
    static bool isUnderWay() { return s_depth > 0; }

private:
    std::shared_ptr<WKWebView> m_view;
    static inline int s_depth = 0;
};

} // namespace tq
