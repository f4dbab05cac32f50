#include "../UIKit/UIScreen.h"

#include "GLibPointers.h"

#include <gdk/gdk.h>

namespace tq {

std::optional<UIScreen> UIScreen::mainScreen()
{
    auto* display = gdk_display_get_default();
    if (!display)
        return std::nullopt;
    const GObjectPointer<GdkMonitor> monitor(
        static_cast<GdkMonitor*>(g_list_model_get_item(gdk_display_get_monitors(display), 0)));
    if (!monitor)
        return std::nullopt;
    GdkRectangle area{};
    gdk_monitor_get_geometry(monitor.get(), &area);
    return UIScreen{ .bounds = { double(area.x), double(area.y), double(area.width), double(area.height) } };
}

} // namespace tq
