#include "tests/support/TestWindow.h"

#include "EngineView.h"
#include "Widgets.h"
#include "platform/gtk/GLibPointers.h"
#include "tests/support/MainLoop.h"

#include <vector>

namespace tq::test {

namespace {
GtkWindow* native(void* window) { return static_cast<GtkWindow*>(window); }
} // namespace

TestWindow::TestWindow(const WKWebView& view, int width, int height)
    : m_window(gtk_window_new())
{
    gtk_window_set_default_size(native(m_window), width, height);
    gtk_window_set_child(native(m_window), widgetOf(view));
    gtk_window_present(native(m_window));
}

TestWindow::~TestWindow() { gtk_window_destroy(native(m_window)); }

void TestWindow::setTitle(const std::string& title) { gtk_window_set_title(native(m_window), title.c_str()); }
void TestWindow::clear() { gtk_window_set_child(native(m_window), nullptr); }

void TestWindow::resize(int width, int height)
{
    gtk_window_set_default_size(native(m_window), width, height);
    runUntil([&] { return gtk_widget_get_height(GTK_WIDGET(m_window)) == height; }, "the window has its size");
}

void TestWindow::waitUntilDrawn() { waitForFrame(native(m_window)); }

std::array<int, 4> TestWindow::colorInTheMiddle()
{
    auto* content = gtk_window_get_child(native(m_window));
    runUntil([&] { return gtk_widget_get_width(content) > 0; }, "the view has its place");
    const int width = gtk_widget_get_width(content);
    const int height = gtk_widget_get_height(content);
    const GObjectPointer<GdkPaintable> picture(gtk_widget_paintable_new(content));
    auto* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(picture.get(), snapshot, width, height);
    auto* node = gtk_snapshot_free_to_node(snapshot);
    if (!node)
        return {};
    const graphene_rect_t area{ { 0, 0 }, { float(width), float(height) } };
    auto* renderer = gtk_native_get_renderer(GTK_NATIVE(m_window));
    const GObjectPointer<GdkTexture> texture(gsk_renderer_render_texture(renderer, node, &area));
    gsk_render_node_unref(node);
    const auto stride = std::size_t(width) * 4;
    std::vector<std::uint8_t> pixels(stride * std::size_t(height));
    gdk_texture_download(texture.get(), pixels.data(), stride);
    const auto* middle = &pixels[stride * std::size_t(height / 2) + std::size_t(width / 2) * 4];
    return { middle[2], middle[1], middle[0], middle[3] };
}

Screen::Point TestWindow::middle(Screen& screen) const
{
    return middleOf(screen, gtk_window_get_child(native(m_window)));
}

} // namespace tq::test
