#pragma once

#include "Measure.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// What a port's toolkit has to do with the measuring.

namespace tq::bench {

/// What one port's measuring differs in from another's.
struct Port {
    /// What the names of its results end with.
    const char* suffix;
    /// What page calls may cost at most, whatever their size; none where each size has a limit of its own.
    std::optional<double> pageCallLimit;
    /// Whether an application has the engine's texts in UTF-8, or in UTF-16 and converts them.
    bool engineTextsAreUTF8;
};
extern const Port kPort;

/// What the port's toolkit needs to be there for; made before anything else, and outlives every view.
class Toolkit {
public:
    Toolkit();
    ~Toolkit(); // NOLINT(performance-trivially-destructible): Qt's has something to delete
    Toolkit(const Toolkit&) = delete;
    Toolkit& operator=(const Toolkit&) = delete;
};

/// Waits until there is something to do on the main loop, a second at most, and does it.
void turnMainLoop();

/// Shows the port's own object behind a view in a window of its own.
/// @returns the window, to be destroyed by the other function.
void* showInWindow(void* view);
void destroyWindow(void* window);

/// When the engine was last told to load a page; may be reset.
std::optional<Clock::time_point>& timeOfLoad();

/// A text as the engine takes it from an application, made beforehand.
class EngineText {
public:
    explicit EngineText(std::string_view text);

    struct Native;
    const Native& native() const { return *m_native; }

private:
    std::shared_ptr<const Native> m_native;
};

/// The engine's own view, with settings as the library's has them, and nothing between it and the page: every prompt is
/// answered by one function.
class BarePage {
public:
    using Answer = std::function<EngineText(std::string_view prompt)>;

    /// Whether what the page gives with a prompt is converted to UTF-8 before it is answered, where it is not that.
    enum class Texts { AreTheEngines, AreUTF8 };
    explicit BarePage(Answer answer, Texts = Texts::AreTheEngines);
    ~BarePage();
    BarePage(const BarePage&) = delete;
    BarePage& operator=(const BarePage&) = delete;

    /// From its next page on, answers every message to the handler "bare" by the engine's own way for messages, with a
    /// text that is as long as a small result.
    void answerMessages();

    void load(const std::string& url);
    void evaluate(std::string_view script);
    /// The same; the text that the script comes to is read before `then` is called.
    void evaluate(std::string_view script, std::function<void()> then);

private:
    struct Impl;
    const std::unique_ptr<Impl> m_impl;
};

} // namespace tq::bench
