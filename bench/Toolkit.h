#pragma once

#include "Measure.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// What a port's toolkit has to do with the measuring.

namespace tq::bench {

/// To be called before anything else.
void startToolkit();

/// Waits until there is something to do on the main loop, a second at most, and does it.
void turnMainLoop();

/// Shows the port's own object behind a view in a window of its own.
/// @returns the window, to be destroyed by the other function.
void* showInWindow(void* view);
void destroyWindow(void* window);

/// When the engine was last told to load a page; may be reset.
std::optional<Clock::time_point>& timeOfLoad();

/// The engine's own view, with settings as the library's has them, and nothing between it and the page: every prompt is
/// answered by one function, and every message to the handler "bare" by a text that is as long as a small result.
class BarePage {
public:
    using Answer = std::function<const char*(const char* prompt, const char* text)>;

    /// @param answer returns the text for the page, null for none.
    explicit BarePage(Answer answer);
    ~BarePage();
    BarePage(const BarePage&) = delete;
    BarePage& operator=(const BarePage&) = delete;

    void load(const std::string& url);
    void evaluate(std::string_view script);
    /// The same; the text that the script comes to is read before `then` is called.
    void evaluate(std::string_view script, std::function<void()> then);

private:
    struct Impl;
    const std::unique_ptr<Impl> m_impl;
};

} // namespace tq::bench
