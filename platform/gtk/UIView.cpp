#include "../Foundation/Dispatch.h"
#include "UIViewNative.h"

#include <cmath>

namespace tq {

UIView::UIView(CGRect frame, std::unique_ptr<Native> native)
    : m_frame(frame)
    , m_native(std::move(native))
{
}

UIView::~UIView() = default;

bool UIView::hidden() const { return !gtk_widget_get_visible(m_native->widget.get()); }

void UIView::setHidden(bool hidden) { gtk_widget_set_visible(m_native->widget.get(), !hidden); }

void UIView::setTintColor(UIColor color) { m_tintColor = color; }

void* UIView::nativeHandle() const { return m_native->widget.get(); }

void UIView::animateWithDuration(double duration, double delay, UIViewAnimationOptions,
    const std::function<void()>& animations, std::function<void(bool)> completion)
{
    if (animations)
        animations();
    const auto end = std::chrono::milliseconds(std::llround((duration + delay) * 1000));
    dispatchToMainAfter(end, [completion = std::move(completion)] {
        if (completion)
            completion(true);
    });
}

} // namespace tq
