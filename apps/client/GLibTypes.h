#pragma once

#include <gdk/gdk.h>
#include <gtk/gtk.h>
#include <memory>
#include <type_traits>

namespace tqclient {

/// Calls a C function to let go of what a `std::unique_ptr` holds.
template <auto release> struct Releaser {
    template <class T> void operator()(T* pointer) const { release(pointer); }
};

using UniqueChars = std::unique_ptr<char, Releaser<g_free>>;
using UniqueError = std::unique_ptr<GError, Releaser<g_error_free>>;
using UniqueBytes = std::unique_ptr<GBytes, Releaser<g_bytes_unref>>;
using UniqueDateTime = std::unique_ptr<GDateTime, Releaser<g_date_time_unref>>;
using UniqueRenderNode = std::unique_ptr<GskRenderNode, Releaser<gsk_render_node_unref>>;
template <class T> using UniqueObject = std::unique_ptr<T, Releaser<g_object_unref>>;

} // namespace tqclient
