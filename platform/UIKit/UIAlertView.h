#pragma once

#include "../Foundation/Export.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tq {

class UIAlertView;
class UITextField;

/// Told which button of an alert was pressed. Main thread.
class TQWB_EXPORT UIAlertViewDelegate {
public:
    virtual ~UIAlertViewDelegate() = default;

    /// @param clickedButtonAtIndex 0 for the cancel button (also when the alert was closed without a button), 1 for the
    /// other one.
    virtual void alertView(UIAlertView& alertView, std::int64_t clickedButtonAtIndex) = 0;
};

/// Whether an alert has a field for text.
enum class UIAlertViewStyle { Default, PlainTextInput };

/// A small window with a message and one or two buttons, modal to the window that it is shown over. It fits any screen
/// of 360 by 720 or 720 by 360, whatever its texts, which are cut when they are too long to be laid out soon. While it
/// is shown it lives by itself; over one window there is one alert at a time, and the others wait for their turn
/// (twenty of one delegate at most, more are cancelled unseen). An alert that is shown goes with the window that it was
/// shown over, as if it had been cancelled. Enter presses the other button (the cancel button when it is the only one),
/// Escape the cancel button. Main thread only.
class TQWB_EXPORT UIAlertView : public std::enable_shared_from_this<UIAlertView> {
public:
    /// @param delegate held weakly. @param otherButtonTitle absent: there is only the cancel button.
    static std::shared_ptr<UIAlertView> initWithTitle(std::string title, std::string message,
        std::weak_ptr<UIAlertViewDelegate> delegate, std::string cancelButtonTitle,
        std::optional<std::string> otherButtonTitle);
    ~UIAlertView();
    UIAlertView(const UIAlertView&) = delete;
    UIAlertView& operator=(const UIAlertView&) = delete;

    /// Gives the alert a field, or takes it away, before it is shown.
    void setAlertViewStyle(UIAlertViewStyle style);
    /// The field of an alert for text input; absent for any other index than 0, and without that style.
    std::shared_ptr<UITextField> textFieldAtIndex(std::int64_t index) const;

    /// Shows the alert over the window that a view is in, or alone when it is in none.
    /// @param over the port's own object behind the view.
    void show(void* over);
    /// Takes the alert off the screen without an answer.
    void dismiss();

private:
    UIAlertView(std::string title, std::string message, std::weak_ptr<UIAlertViewDelegate> delegate,
        std::string cancelButtonTitle, std::optional<std::string> otherButtonTitle);

    struct TQWB_HIDDEN Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace tq
