#pragma once

#include "GLibTypes.h"

#include <functional>
#include <memory>
#include <string>

namespace tqclient {

/// Takes pictures of what a widget shows on the screen. Main thread.
class ViewCapture {
public:
    /// Called once: with an empty text when the picture is written, else with what went wrong.
    using Done = std::function<void(const std::string& failure)>;

    /// The widget must outlive this object.
    explicit ViewCapture(GtkWidget* widget);
    ViewCapture(const ViewCapture&) = delete;
    ViewCapture& operator=(const ViewCapture&) = delete;
    ~ViewCapture();

    /// Writes a PNG file once the widget has drawn what it knows by now; the file appears whole.
    void capture(std::string path, Done done);

private:
    struct Request;

    std::string write(const std::string& path) const;

    GtkWidget* m_widget;
    UniqueObject<GdkPaintable> m_paintable;
    // What requests that are still waiting look at; gone with this object.
    std::shared_ptr<ViewCapture*> m_self;
};

} // namespace tqclient
