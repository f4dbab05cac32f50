#pragma once

#include "WKUserContentController.h"

#include <memory>

namespace tq {

class WKWebView;

/// What scripts and files may do in a view's pages.
struct WKPreferences {
    /// Whether pages run scripts.
    bool javaScriptEnabled = true;
    /// Whether a script may open windows without its user doing anything.
    bool javaScriptCanOpenWindowsAutomatically = false;
    /// Whether a page from a file may read other files.
    bool allowFileAccessFromFileURLs = false;
};

/// What a view is made with; the view reads it once, when it is made.
struct WKWebViewConfiguration {
    /// Whether films play within the page.
    bool allowsInlineMediaPlayback = false;
    /// Whether a page from a file may read pages of every origin.
    bool allowUniversalAccessFromFileURLs = false;
    /// Recorded for ports whose engine can hold back the first drawing until a page is complete.
    bool suppressesIncrementalRendering = false;
    /// What the pages may do; never null.
    std::shared_ptr<WKPreferences> preferences = std::make_shared<WKPreferences>();
    /// The scripts that run in the pages; never null.
    std::shared_ptr<WKUserContentController> userContentController = std::make_shared<WKUserContentController>();
    /// The view whose page asked for the new one; absent in a configuration of the application's own.
    std::weak_ptr<WKWebView> opener;
};

} // namespace tq
