#pragma once

#include "../Foundation/Export.h"
#include "CGGeometry.h"
#include "UIColor.h"

#include <functional>
#include <memory>

namespace tq {

/// How an animation's pace changes over its run.
enum class UIViewAnimationOptions : unsigned { CurveEaseOut = 0x20000 };

/// Something on the screen. Main thread only.
class TQWB_EXPORT UIView {
public:
    virtual ~UIView();
    UIView(const UIView&) = delete;
    UIView& operator=(const UIView&) = delete;

    /// Where the view was placed when it was made.
    const CGRect& frame() const { return m_frame; }
    /// Whether it is not shown; false at first.
    bool hidden() const;
    /// Hides or shows it.
    void setHidden(bool hidden);
    /// The colour of what stands out in it.
    UIColor tintColor() const { return m_tintColor; }
    /// Gives it another colour.
    virtual void setTintColor(UIColor color);

    /// Applies the changes and tells the completion that they are done, after the delay and the duration (in seconds).
    static void animateWithDuration(double duration, double delay, UIViewAnimationOptions options,
        const std::function<void()>& animations, std::function<void(bool finished)> completion);

    /// The port's own object behind the view (for GTK a `GtkWidget*`), owned by the view.
    void* nativeHandle() const;

protected:
    struct TQWB_HIDDEN Native;
    /// For the port, which brings the object behind the view.
    UIView(CGRect frame, std::unique_ptr<Native> native);

private:
    CGRect m_frame;
    UIColor m_tintColor = UIColor::systemBlueColor();
    std::unique_ptr<Native> m_native;
};

} // namespace tq
