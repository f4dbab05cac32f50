#pragma once

#include "Screen.h"
#include "TestWindow.h"

#include <optional>
#include <string>
#include <vector>

namespace tq::test {

enum class Answer { Cancel, Ok };

/// A dialog of this process, while it is on the screen.
class Dialog {
public:
    /// The toolkit's window; null for none, of which nothing may be asked.
    explicit Dialog(void* window)
        : m_window(window)
    {
    }
    explicit operator bool() const { return m_window; }

    /// Everything that it says, from the top: title, message, buttons.
    std::vector<std::string> texts() const;
    void press(Answer) const;

    /// What its text field holds; absent when it has none.
    std::optional<std::string> field() const;
    void setField(const std::string& text) const;
    /// Whether assistive technologies are given this name for its field.
    bool isFieldNamed(const std::string& name) const;

    bool isModal() const;
    bool isOver(const TestWindow&) const;
    /// In pixels; 0 while it has no place yet.
    int width() const;
    int height() const;
    /// Returns when it has its place.
    void waitForPlace() const;
    /// Returns after one more frame.
    void waitUntilDrawn() const;
    /// The lines that its message takes, and the glyphs in them.
    struct Extent {
        int lines;
        int glyphs;
    };
    Extent messageExtent() const;
    /// The height of its lowest button in pixels; 0 when a label on one of them is cut.
    int leastButtonHeight() const;
    /// Whether a scroll bar is there exactly where more is to be seen.
    bool scrollsWhatDoesNotFit() const;

    /// Its window as the screen has it, waited for.
    Screen::Window onScreen(Screen&) const;
    /// The middle of the button of that label, on the screen.
    Screen::Point middleOfButton(Screen&, const std::string& label) const;

private:
    void* m_window;
};

/// The dialogs of this process that are on the screen.
std::vector<Dialog> dialogs();

/// The dialog on the screen, waited for; none, with the test failed, when there is none or more than one.
Dialog dialog();

} // namespace tq::test
