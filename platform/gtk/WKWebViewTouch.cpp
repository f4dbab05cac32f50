#include "../Foundation/JSONWriter.h"
#include "WKWebViewImpl.h"

#include <string>

namespace tq {

namespace {

// The engine counts a touch from the corner of the window's drawing surface, with the shadow that the toolkit draws
// around the window, and tells the page of a place that far off. The page's touches get right with the touch that
// comes: the script knows where it is, and how far off it would be. An engine that tells the right place is left alone.
constexpr const char* kScript = R"(((x, y, left, top) => {
    if (!window.Touch)
        return;
    if (!("tqShift" in Touch)) {
        Object.defineProperty(Touch, "tqShift", { value: { x: 0, y: 0 } });
        for (const [name, axis] of [["clientX", "x"], ["clientY", "y"], ["pageX", "x"], ["pageY", "y"]]) {
            const plain = Object.getOwnPropertyDescriptor(Touch.prototype, name);
            const get = { get() { return plain.get.call(this) - Touch.tqShift[axis]; } }.get;
            Object.defineProperty(Touch.prototype, name, { ...plain, get });
        }
    }
    addEventListener("touchstart", (event) => {
        const shift = Touch.tqShift;
        const touch = event.changedTouches[0];
        const isOff = Math.hypot(touch.clientX + shift.x - x - left, touch.clientY + shift.y - y - top) < 2;
        Object.assign(shift, isOff ? { x: left, y: top } : { x: 0, y: 0 });
    }, { capture: true, passive: true, once: true });
}))";

} // namespace

void WKWebView::Impl::followTouches()
{
    auto* controller = gtk_event_controller_legacy_new();
    gtk_event_controller_set_propagation_phase(controller, GTK_PHASE_CAPTURE);
    connections.emplace_back(controller, "event", G_CALLBACK(touched), this);
    gtk_widget_add_controller(overlay.get(), controller);
}

gboolean WKWebView::Impl::touched(GtkEventController*, GdkEvent* event, gpointer impl)
{
    auto& self = *static_cast<Impl*>(impl);
    auto* window = gtk_widget_get_native(self.overlay.get());
    if (!window || gdk_event_get_event_type(event) != GDK_TOUCH_BEGIN)
        return FALSE;
    double left = 0;
    double top = 0;
    gtk_native_get_surface_transform(window, &left, &top);
    const bool isShifted = left != 0 || top != 0;
    if (!isShifted && !self.areTouchesShifted)
        return FALSE;
    self.areTouchesShifted = isShifted;
    double x = 0;
    double y = 0;
    gdk_event_get_position(event, &x, &y);
    const graphene_point_t inWindow{ static_cast<float>(x - left), static_cast<float>(y - top) };
    graphene_point_t inView{};
    if (!gtk_widget_compute_point(GTK_WIDGET(window), GTK_WIDGET(self.webView), &inWindow, &inView))
        return FALSE;
    const double zoom = webkit_web_view_get_zoom_level(self.webView);
    std::string script = kScript;
    const char* separator = "(";
    for (const double length : { double(inView.x), double(inView.y), left, top }) {
        script += separator + writtenJSON(length / zoom);
        separator = ", ";
    }
    self.view.evaluateJavaScript(script + ")");
    return FALSE;
}

} // namespace tq
