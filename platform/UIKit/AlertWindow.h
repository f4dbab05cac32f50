#pragma once

#include "../Foundation/NSTypes.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tq {

class UITextField;

inline constexpr std::int64_t kCancelButton = 0;
inline constexpr std::int64_t kOtherButton = 1;

/// What an alert says, fit to be shown.
struct AlertText {
    /// For the window's own title: one line.
    std::string name;
    std::string title;
    /// May be empty.
    std::string message;
    std::string cancelButton;
    /// Absent: there is only the cancel button.
    OptionalText otherButton;
};

/// The port's: the window of an alert, which is not on the screen at first. It is modal to the window that it is shown
/// over, fits any screen of 360 by 720 or 720 by 360, and cancels itself when it is closed, when Escape is pressed and,
/// shown or not, when the window goes that it is shown over. Main thread only.
class AlertWindow {
public:
    /// Told of the button that was pressed; may destroy the alert's window.
    using Pressed = std::function<void(std::int64_t button)>;

    /// @param over the port's own object behind the view that the alert is for.
    AlertWindow(void* over, Pressed pressed);
    /// Takes it off the screen.
    ~AlertWindow();
    AlertWindow(const AlertWindow&) = delete;
    AlertWindow& operator=(const AlertWindow&) = delete;

    /// The window that it is shown over; null when the view is in none.
    const void* parent() const;
    /// Puts it on the screen, unless it is there or the window is going that it is shown over.
    /// @param field null: there is none.
    void present(const AlertText& text, const UITextField* field);

private:
    struct Impl;
    const std::unique_ptr<Impl> m_impl;
};

} // namespace tq
