#pragma once

namespace tq {

/// A colour; components from 0 to 1.
struct UIColor {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 1;

    static constexpr UIColor whiteColor() { return { 1, 1, 1, 1 }; }
    static constexpr UIColor clearColor() { return { 0, 0, 0, 0 }; }
    static constexpr UIColor systemBlueColor() { return { 0, 122 / 255.0F, 1, 1 }; }

    bool operator==(const UIColor&) const = default;
};

} // namespace tq
