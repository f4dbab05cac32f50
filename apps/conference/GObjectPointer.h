#pragma once

#include <libsoup/soup.h>

#include <memory>
#include <string_view>

namespace tq::conference {

struct GObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
/// Holds a reference for as long as its owner lives; within a function `g_autoptr` does.
template <typename T> using GObjectPointer = std::unique_ptr<T, GObjectUnref>;

inline std::string_view textOf(GBytes* bytes)
{
    gsize size = 0;
    const auto* const text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    return { text, size };
}

} // namespace tq::conference
