#include "UIView.h"

#include "../Foundation/Dispatch.h"

#include <chrono>
#include <cmath>

namespace tq {

void UIView::setTintColor(UIColor color) { m_tintColor = color; }

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
