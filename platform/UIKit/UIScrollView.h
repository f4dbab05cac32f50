#pragma once

namespace tq {

/// Whether safe areas add to a scroll area's insets.
enum class UIScrollViewContentInsetAdjustmentBehavior { Automatic = 0, Never = 2 };

/// How the content of a web view may be moved by a person; the view reads it when it is applied.
struct UIScrollView {
    bool bounces = true;
    bool pinchGestureRecognizerEnabled = true;
    bool panGestureRecognizerEnabled = true;
    bool scrollEnabled = true;
    bool showsVerticalScrollIndicator = true;
    bool showsHorizontalScrollIndicator = true;
    UIScrollViewContentInsetAdjustmentBehavior contentInsetAdjustmentBehavior
        = UIScrollViewContentInsetAdjustmentBehavior::Automatic;

    bool operator==(const UIScrollView&) const = default;
};

} // namespace tq
