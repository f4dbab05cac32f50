#include "ViewCapture.h"

#include <utility>

namespace tqclient {

namespace {

/// Two frames from now what was known at the call has been drawn.
constexpr int kFrames = 2;
/// A widget that is not being drawn at all is taken as it was.
constexpr guint kLongestWaitMilliseconds = 2000;

} // namespace

/// One picture that waits for its frames; owned by the tick callback and the time-out together, whichever comes first.
struct ViewCapture::Request : std::enable_shared_from_this<Request> {
    std::weak_ptr<ViewCapture*> capture;
    std::string path;
    Done done;
    int frames = 0;
    guint tick = 0;
    guint timeout = 0;

    using Shared = std::shared_ptr<Request>;
    static void release(gpointer data) { std::unique_ptr<Shared>(static_cast<Shared*>(data)).reset(); }
    gpointer retain() { return std::make_unique<Shared>(shared_from_this()).release(); }

    void wait(GtkWidget* waiting)
    {
        auto onTick = [](GtkWidget* widget, GdkFrameClock*, gpointer data) -> gboolean {
            const Shared self = *static_cast<Shared*>(data);
            gtk_widget_queue_draw(widget);
            return ++self->frames <= kFrames ? G_SOURCE_CONTINUE : self->finishTick();
        };
        auto onTimeout = [](gpointer data) -> gboolean {
            const Shared self = *static_cast<Shared*>(data);
            return self->finishTimeout();
        };
        tick = gtk_widget_add_tick_callback(waiting, onTick, retain(), release);
        timeout = g_timeout_add_full(G_PRIORITY_DEFAULT, kLongestWaitMilliseconds, onTimeout, retain(), release);
    }

    gboolean finishTick()
    {
        tick = 0;
        g_source_remove(std::exchange(timeout, 0));
        answer();
        return G_SOURCE_REMOVE;
    }

    gboolean finishTimeout()
    {
        timeout = 0;
        if (auto owner = capture.lock()) {
            gtk_widget_remove_tick_callback((*owner)->m_widget, std::exchange(tick, 0));
            answer();
        }
        return G_SOURCE_REMOVE;
    }

    void answer()
    {
        if (auto owner = capture.lock())
            done((*owner)->write(path));
    }
};

ViewCapture::ViewCapture(GtkWidget* widget)
    : m_widget(widget)
    , m_paintable(gtk_widget_paintable_new(widget))
    , m_self(std::make_shared<ViewCapture*>(this))
{
}

ViewCapture::~ViewCapture() = default;

void ViewCapture::capture(std::string path, Done done)
{
    auto request = std::make_shared<Request>();
    request->capture = m_self;
    request->path = std::move(path);
    request->done = std::move(done);
    request->wait(m_widget);
}

std::string ViewCapture::write(const std::string& path) const
{
    GtkNative* window = gtk_widget_get_native(m_widget);
    GskRenderer* renderer = window ? gtk_native_get_renderer(window) : nullptr;
    auto width = gdk_paintable_get_intrinsic_width(m_paintable.get());
    auto height = gdk_paintable_get_intrinsic_height(m_paintable.get());
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(m_paintable.get(), snapshot, width, height);
    UniqueRenderNode node(gtk_snapshot_free_to_node(snapshot));
    if (!node || !renderer)
        return "there is nothing on the screen";
    graphene_rect_t area;
    graphene_rect_init(&area, 0, 0, static_cast<float>(width), static_cast<float>(height));
    UniqueObject<GdkTexture> texture(gsk_renderer_render_texture(renderer, node.get(), &area));
    UniqueBytes png(gdk_texture_save_to_png_bytes(texture.get()));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(png.get(), &size));
    GError* failure = nullptr;
    if (g_file_set_contents(path.c_str(), data, static_cast<gssize>(size), &failure))
        return {};
    return UniqueError(failure)->message;
}

} // namespace tqclient
