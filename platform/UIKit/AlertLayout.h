#pragma once

#include <algorithm>
#include <optional>

// For ports: how the window of an alert is laid out, in pixels.

namespace tq {

/// With the margins it fits a screen that is 360 wide.
inline constexpr int kAlertWidth = 296;
inline constexpr int kAlertMargin = 20;
/// Between texts, and between buttons.
inline constexpr int kAlertSpacing = 12;
/// Between texts, field and buttons.
inline constexpr int kAlertGap = 18;
/// A fingertip's.
inline constexpr int kAlertControlHeight = 44;
/// Several lines are read from the side, a few words are looked at: how many characters are.
inline constexpr long kAlertMostCentred = 140;

/// How high texts and buttons may be at the most; what is higher scrolls.
struct AlertHeights {
    int texts;
    int buttons;

    /// @param window the window's height. @param field the field's own, absent where there is none.
    AlertHeights(int window, std::optional<int> field, int wantedTexts, int wantedButtons)
    {
        const int fieldAndGap = field ? std::max(*field, kAlertControlHeight) + kAlertGap : 0;
        const int rest = window - 2 * kAlertMargin - kAlertGap - fieldAndGap;
        buttons = std::max(rest / 2, rest - wantedTexts);
        texts = rest - std::min(wantedButtons, buttons);
    }
};

} // namespace tq
