#pragma once

namespace tq {

/// A colour; components from 0 to 1.
struct UIColor {
    /// The red component.
    float red = 0;
    /// The green component.
    float green = 0;
    /// The blue component.
    float blue = 0;
    /// How much it covers: 0 is clear, 1 is opaque.
    float alpha = 1;

    /// Opaque white.
    static constexpr UIColor whiteColor() { return { 1, 1, 1, 1 }; }
    /// Nothing to be seen.
    static constexpr UIColor clearColor() { return { 0, 0, 0, 0 }; }
    /// The blue of controls.
    static constexpr UIColor systemBlueColor() { return { 0, 122 / 255.0F, 1, 1 }; }

    /// The same in every component.
    bool operator==(const UIColor&) const = default;
};

} // namespace tq
