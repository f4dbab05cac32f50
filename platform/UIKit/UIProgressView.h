#pragma once

#include "UIView.h"

#include <memory>

namespace tq {

/// A scale of the drawing of a view around its middle.
struct CGAffineTransform {
    CGFloat scaleX = 1;
    CGFloat scaleY = 1;

    bool operator==(const CGAffineTransform&) const = default;
};

/// A bar that shows how far something has got. Main thread only.
class TQWB_EXPORT UIProgressView final : public UIView {
public:
    static std::shared_ptr<UIProgressView> initWithFrame(CGRect frame);
    ~UIProgressView() override;

    /// From 0 to 1; what lies outside becomes the nearest of the two, what is no number stays as it is.
    float progress() const { return m_progress; }
    void setProgress(float progress);
    void setTintColor(UIColor color) override;
    CGAffineTransform transform() const { return m_transform; }
    void setTransform(CGAffineTransform transform);

private:
    explicit UIProgressView(CGRect frame);
    void updateStyle();

    struct Style;
    std::unique_ptr<Style> m_style;
    float m_progress = 0;
    CGAffineTransform m_transform;
};

} // namespace tq
