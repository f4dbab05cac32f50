#include "ViewCapture.h"

#include <memory>
#include <utility>

namespace tqclient {

namespace {

/// Two frames from now what was known at the call has been drawn.
constexpr int kFrames = 2;
/// A widget that is not being drawn at all is taken as it was.
constexpr guint kLongestWaitMilliseconds = 2000;

/// One picture that waits for its frames.
struct Request {
    GtkWidget* widget = nullptr;
    UniqueObject<GdkPaintable> paintable;
    std::string path;
    std::function<void(const std::string& failure)> done;
    int frames = 0;
    guint tick = 0;
    guint timeout = 0;

    // The widget's tick callback owns it, which goes with the widget.
    ~Request()
    {
        if (timeout)
            g_source_remove(timeout);
    }
    std::string write() const;
};

std::string Request::write() const
{
    GtkNative* window = gtk_widget_get_native(widget);
    GskRenderer* renderer = window ? gtk_native_get_renderer(window) : nullptr;
    const auto width = gdk_paintable_get_intrinsic_width(paintable.get());
    const auto height = gdk_paintable_get_intrinsic_height(paintable.get());
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable.get(), snapshot, width, height);
    UniqueRenderNode node(gtk_snapshot_free_to_node(snapshot));
    if (!node || !renderer)
        return "there is nothing on the screen";
    graphene_rect_t area;
    graphene_rect_init(&area, 0, 0, static_cast<float>(width), static_cast<float>(height));
    UniqueObject<GdkTexture> texture(gsk_renderer_render_texture(renderer, node.get(), &area));
    UniqueObject<GFile> file(g_file_new_for_path(path.c_str()));
    return writePicture(texture.get(), file.get());
}

} // namespace

std::string writePicture(GdkTexture* texture, GFile* file)
{
    UniqueBytes png(gdk_texture_save_to_png_bytes(texture));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(png.get(), &size));
    GError* failure = nullptr;
    g_file_replace_contents(
        file, data, size, nullptr, FALSE, G_FILE_CREATE_REPLACE_DESTINATION, nullptr, nullptr, &failure);
    return failure ? UniqueError(failure)->message : "";
}

void captureView(GtkWidget* widget, std::string path, std::function<void(const std::string& failure)> done)
{
    auto* request = std::make_unique<Request>().release();
    request->widget = widget;
    request->paintable.reset(gtk_widget_paintable_new(widget));
    request->path = std::move(path);
    request->done = std::move(done);
    auto onTick = [](GtkWidget* drawn, GdkFrameClock*, gpointer data) -> gboolean {
        auto* self = static_cast<Request*>(data);
        gtk_widget_queue_draw(drawn);
        if (++self->frames <= kFrames)
            return G_SOURCE_CONTINUE;
        self->done(self->write());
        return G_SOURCE_REMOVE;
    };
    auto destroy = [](gpointer data) { std::unique_ptr<Request>(static_cast<Request*>(data)).reset(); };
    auto onTimeout = [](gpointer data) -> gboolean {
        auto* self = static_cast<Request*>(data);
        self->timeout = 0;
        self->done(self->write());
        gtk_widget_remove_tick_callback(self->widget, self->tick);
        return G_SOURCE_REMOVE;
    };
    request->tick = gtk_widget_add_tick_callback(widget, onTick, request, destroy);
    request->timeout = g_timeout_add(kLongestWaitMilliseconds, onTimeout, request);
}

} // namespace tqclient
