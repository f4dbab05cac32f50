#include "UIProgressView.h"

#include <algorithm>
#include <cmath>

namespace tq {

std::shared_ptr<UIProgressView> UIProgressView::initWithFrame(CGRect frame)
{
    return std::shared_ptr<UIProgressView>(new UIProgressView(frame));
}

void UIProgressView::setProgress(float progress)
{
    if (std::isnan(progress))
        return;
    m_progress = std::clamp(progress, 0.0F, 1.0F);
    updateProgress();
}

void UIProgressView::setTintColor(UIColor color)
{
    UIView::setTintColor(color);
    updateStyle();
}

void UIProgressView::setTransform(CGAffineTransform transform)
{
    m_transform = transform;
    updateStyle();
}

} // namespace tq
