#pragma once

#include "WKUserContentController.h"

#include <memory>

namespace tq {

class WKWebView;

/// What scripts and files may do in a view's pages.
struct WKPreferences {
    bool javaScriptEnabled = true;
    bool javaScriptCanOpenWindowsAutomatically = false;
    bool allowFileAccessFromFileURLs = false;
};

/// What a view is made with; the view reads it once, when it is made.
struct WKWebViewConfiguration {
    bool allowsInlineMediaPlayback = false;
    bool allowUniversalAccessFromFileURLs = false;
    /// Recorded for ports whose engine can hold back the first drawing until a page is complete.
    bool suppressesIncrementalRendering = false;
    std::shared_ptr<WKPreferences> preferences = std::make_shared<WKPreferences>();
    std::shared_ptr<WKUserContentController> userContentController = std::make_shared<WKUserContentController>();
    /// The view whose page asked for the new one; absent in a configuration of the application's own.
    std::weak_ptr<WKWebView> opener;
};

} // namespace tq
