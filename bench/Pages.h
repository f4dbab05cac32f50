#pragma once

#include "Measure.h"
#include "TQWhiteBoardLib/DWKWebView.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <webkit/webkit.h>

namespace tq::bench {

/// Runs the main loop until the condition holds; ends the program with a message after two minutes.
void runUntil(const std::function<bool()>& condition, const std::string& what);

/// An address of a page with that script.
std::string pageWith(const std::string& script);

/// The engine's own view, with settings as the library's has them, and nothing between it and the page: every prompt is
/// answered by one function.
class BarePage {
public:
    using Answer = std::function<const char*(const char* prompt, const char* text)>;

    /// @param answer returns the text for the page, null for none.
    explicit BarePage(Answer answer);
    ~BarePage();
    BarePage(const BarePage&) = delete;
    BarePage& operator=(const BarePage&) = delete;

    void load(const std::string& url) { webkit_web_view_load_uri(m_view, url.c_str()); }
    void evaluate(std::string_view script);
    GtkWidget* widget() const { return m_window; }

private:
    Answer m_answer;
    GtkWidget* m_window;
    WebKitWebView* m_view;
};

/// A native object that a page tells when it is done, by its method "done".
class DoneListener final : public NSObject {
public:
    static const NSClass& staticClass();
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue done(OptionalValue)
    {
        isDone = true;
        return std::nullopt;
    }
    bool isDone = false;
};

/// The library's view, in a window of its own like the bare one.
class BridgePage {
public:
    BridgePage();
    ~BridgePage();
    BridgePage(const BridgePage&) = delete;
    BridgePage& operator=(const BridgePage&) = delete;

    DWKWebView& view() const { return *m_view; }

private:
    std::shared_ptr<DWKWebView> m_view;
    GtkWidget* m_window;
};

} // namespace tq::bench
