#pragma once

namespace tq {

using CGFloat = double;

/// A rectangle in points (logical pixels), the origin at the top left.
struct CGRect {
    CGFloat x = 0;
    CGFloat y = 0;
    CGFloat width = 0;
    CGFloat height = 0;

    bool operator==(const CGRect&) const = default;
};

} // namespace tq
