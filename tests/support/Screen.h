#pragma once

#include <memory>
#include <optional>
#include <string>

namespace tq::test {

/// The screen that the tests run on, and the input of its user. Places are in pixels from the screen's upper left.
class Screen {
public:
    struct Point {
        double x = 0;
        double y = 0;
    };
    /// Where a window is.
    struct Window {
        /// Its drawing surface, with whatever shadow the toolkit draws.
        Point surface;
        /// What the user takes for the window.
        Point corner;
        double width = 0;
        double height = 0;
    };

    /// The one of this run: X11's by way of xdotool, or that of a weston with our module in it. Null for another
    /// Wayland screen, which nobody can touch from outside.
    static Screen* get();

    virtual ~Screen() = default;

    /// The topmost window of that title that is visible.
    virtual std::optional<Window> window(const std::string& title) = 0;
    /// Gives the keyboard to a window that has just come, where nobody else does.
    virtual void focus(const std::string&) { }
    virtual void move(Point place) = 0;
    virtual void press() = 0;
    virtual void release() = 0;
    /// A key by its name: a small letter, Return, Escape, Tab or End.
    virtual void key(const std::string& name) = 0;

    virtual bool hasTouch() const { return false; }
    virtual void touch(int /*finger*/, Point) { }
    virtual void slide(int /*finger*/, Point) { }
    virtual void lift(int /*finger*/) { }

    void click(Point place);
    void tap(Point place);
};

/// An X11 screen, by way of xdotool. It has no touch: X servers in memory have no touch screen, and XTEST makes none.
std::unique_ptr<Screen> screenX11();

/// A Wayland screen: weston, with the module that Module.cpp tells of at the socket of that path.
std::unique_ptr<Screen> screenWeston(const std::string& path);

} // namespace tq::test
