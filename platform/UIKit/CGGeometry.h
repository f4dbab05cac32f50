#pragma once

namespace tq {

using CGFloat = double;

/// A rectangle in points (logical pixels), the origin at the top left.
struct CGRect {
    /// From the left.
    CGFloat x = 0;
    /// From the top.
    CGFloat y = 0;
    /// To the right.
    CGFloat width = 0;
    /// Downwards.
    CGFloat height = 0;

    /// The same in every number.
    bool operator==(const CGRect&) const = default;
};

} // namespace tq
