#pragma once

#include <gio/gio.h>

#include <memory>

namespace tq::conference {

struct GObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
struct GFree {
    void operator()(void* memory) const { g_free(memory); }
};
struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
struct GBytesUnref {
    void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
};
struct GUriUnref {
    void operator()(GUri* uri) const { g_uri_unref(uri); }
};

template <typename T> using GObjectPointer = std::unique_ptr<T, GObjectUnref>;
using GText = std::unique_ptr<char, GFree>;
using GErrorPointer = std::unique_ptr<GError, GErrorFree>;
using GBytesPointer = std::unique_ptr<GBytes, GBytesUnref>;
using GUriPointer = std::unique_ptr<GUri, GUriUnref>;

} // namespace tq::conference
