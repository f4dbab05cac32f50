#pragma once

#include "platform/WebKit/WKWebView.h"
#include "tests/support/Screen.h"

#include <array>

namespace tq::test {

/// A window of this process on the screen, with a view in it.
class TestWindow {
public:
    explicit TestWindow(const WKWebView& view, int width = 500, int height = 400);
    ~TestWindow();
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    void setTitle(const std::string& title);
    /// Takes the view out; it lives on.
    void clear();
    /// Returns when it is as tall as that.
    void resize(int width, int height);
    /// Returns after one more frame.
    void waitUntilDrawn();
    /// Red, green, blue and alpha of what the window draws in its middle.
    std::array<int, 4> colorInTheMiddle();
    /// Where the middle of the window's content is on the screen, waited for.
    Screen::Point middle(Screen& screen) const;
    /// The toolkit's window.
    void* nativeHandle() const { return m_window; }

private:
    void* m_window;
};

} // namespace tq::test
