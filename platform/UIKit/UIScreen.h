#pragma once

#include "CGGeometry.h"

#include <optional>

namespace tq {

/// A screen of the system.
struct UIScreen {
    /// The first screen; absent on a machine without any.
    static std::optional<UIScreen> mainScreen();

    /// In points.
    CGRect bounds;
};

} // namespace tq
