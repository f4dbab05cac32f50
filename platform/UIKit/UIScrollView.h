#pragma once

namespace tq {

/// Whether safe areas add to a scroll area's insets.
enum class UIScrollViewContentInsetAdjustmentBehavior { Automatic = 0, Never = 2 };

/// How the content of a web view may be moved by a person; the view reads it when it is applied.
struct UIScrollView {
    /// Whether content swings back at its ends.
    bool bounces = true;
    /// Whether two fingers change the size of the content.
    bool pinchGestureRecognizerEnabled = true;
    /// Whether a finger moves the content.
    bool panGestureRecognizerEnabled = true;
    /// Whether the content moves at all.
    bool scrollEnabled = true;
    /// Whether a bar shows how far down the content is.
    bool showsVerticalScrollIndicator = true;
    /// Whether a bar shows how far to the side it is.
    bool showsHorizontalScrollIndicator = true;
    /// What is added around the content.
    UIScrollViewContentInsetAdjustmentBehavior contentInsetAdjustmentBehavior
        = UIScrollViewContentInsetAdjustmentBehavior::Automatic;

    /// The same in every field.
    bool operator==(const UIScrollView&) const = default;
};

} // namespace tq
