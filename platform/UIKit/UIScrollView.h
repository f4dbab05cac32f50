#pragma once

namespace tq {

/// How the content of a web view may be moved by a person; the view reads it when it is applied.
struct UIScrollView {
    /// Whether two fingers change the size of the content.
    bool pinchGestureRecognizerEnabled = true;
    /// Whether a finger moves the content.
    bool panGestureRecognizerEnabled = true;
    /// Whether the content moves at all.
    bool scrollEnabled = true;

    /// The same in every field.
    bool operator==(const UIScrollView&) const = default;
};

} // namespace tq
