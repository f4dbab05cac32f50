#pragma once

#include "UIView.h"

#include <memory>

namespace tq {

/// A scale of the drawing of a view around its middle.
struct CGAffineTransform {
    /// Of the width.
    CGFloat scaleX = 1;
    /// Of the height.
    CGFloat scaleY = 1;

    /// The same in both directions.
    bool operator==(const CGAffineTransform&) const = default;
};

/// A bar that shows how far something has got. Main thread only.
class TQWB_EXPORT UIProgressView final : public UIView {
public:
    /// Makes an empty bar.
    static std::shared_ptr<UIProgressView> initWithFrame(CGRect frame);
    ~UIProgressView() override;

    /// From 0 to 1; what lies outside becomes the nearest of the two, what is no number stays as it is.
    float progress() const { return m_progress; }
    /// Moves the bar.
    void setProgress(float progress);
    /// The colour of the part that is full.
    void setTintColor(UIColor color) override;
    /// How the bar is scaled.
    CGAffineTransform transform() const { return m_transform; }
    /// Scales the bar, about its middle.
    void setTransform(CGAffineTransform transform);

private:
    explicit UIProgressView(CGRect frame);
    void updateProgress();
    void updateStyle();

    struct Style;
    std::unique_ptr<Style> m_style;
    float m_progress = 0;
    CGAffineTransform m_transform;
};

} // namespace tq
