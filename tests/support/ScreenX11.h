#pragma once

#include "Screen.h"

#include <vector>

namespace tq::test {

/// An X11 screen, by way of xdotool. It has no touch: X servers in memory have no touch screen, and XTEST makes none.
class ScreenX11 final : public Screen {
public:
    std::optional<Window> window(const std::string& title) override;
    void focus(const std::string& title) override;
    void move(Point place) override;
    void press() override;
    void release() override;
    void key(const std::string& name) override;
};

} // namespace tq::test
