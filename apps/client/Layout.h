#pragma once

namespace tqclient {

/// How the window's parts are arranged, by the window's size.
enum class Layout {
    Unknown,
    /// As wide as a phone held upright: the log goes under the board, and the room's state under the header bar.
    Narrow,
    /// As high as a phone held sideways.
    Short,
    Medium,
    /// With room for the log without asking for it.
    Wide,
};

inline Layout layoutOf(int width, int height)
{
    constexpr int kNarrowBelow = 600;
    constexpr int kShortBelow = 480;
    constexpr int kWideFrom = 1000;
    if (width < kNarrowBelow)
        return Layout::Narrow;
    if (height < kShortBelow)
        return Layout::Short;
    return width < kWideFrom ? Layout::Medium : Layout::Wide;
}

/// Whether the window is on a small screen, where fingers press its buttons.
inline bool isSmall(Layout layout) { return layout == Layout::Narrow || layout == Layout::Short; }

} // namespace tqclient
