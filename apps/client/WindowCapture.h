#pragma once

#include "GLibTypes.h"

#include <functional>
#include <memory>
#include <string>

namespace tqclient {

/// Takes pictures of a window as it is on the screen: the board with its surroundings. Main thread.
class WindowCapture {
public:
    /// Called once: with an empty text when the picture is written, else with what went wrong.
    using Done = std::function<void(const std::string& failure)>;

    explicit WindowCapture(GtkWidget* window);
    WindowCapture(const WindowCapture&) = delete;
    WindowCapture& operator=(const WindowCapture&) = delete;
    ~WindowCapture();

    /// Writes a PNG file once the window has drawn what it knows by now; the file appears whole.
    void capture(std::string path, Done done);

private:
    struct Request;

    std::string write(const std::string& path) const;

    GtkWidget* m_window;
    UniqueObject<GdkPaintable> m_paintable;
    // What requests that are still waiting look at; gone with this object.
    std::shared_ptr<WindowCapture*> m_self;
};

} // namespace tqclient
