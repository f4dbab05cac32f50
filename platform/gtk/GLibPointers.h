#pragma once

#include "../Foundation/Releaser.h"

#include <gio/gio.h>
#include <glib-object.h>
#include <glib.h>
#include <memory>
#include <utility>

namespace tq {

template <class T> using GObjectPointer = std::unique_ptr<T, Releaser<g_object_unref>>;
using GCharPointer = std::unique_ptr<char, Releaser<g_free>>;
using GErrorPointer = std::unique_ptr<GError, Releaser<g_error_free>>;
using GBytesPointer = std::unique_ptr<GBytes, Releaser<g_bytes_unref>>;

/// Takes a reference of its own.
template <class T> GObjectPointer<T> retained(T* object)
{
    return GObjectPointer<T>(object ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

/// Takes what has just been made, and nobody's yet.
template <class T> GObjectPointer<T> adopted(T* floating)
{
    return GObjectPointer<T>(static_cast<T*>(g_object_ref_sink(floating)));
}

/// A signal handler that is taken off when this goes.
class SignalConnection {
public:
    SignalConnection() = default;
    SignalConnection(gpointer instance, const char* signal, GCallback handler, gpointer data)
        : m_instance(instance)
        , m_id(g_signal_connect(instance, signal, handler, data))
    {
    }
    SignalConnection(SignalConnection&& other) noexcept
        : m_instance(std::exchange(other.m_instance, nullptr))
        , m_id(std::exchange(other.m_id, 0))
    {
    }
    SignalConnection& operator=(SignalConnection&& other) noexcept
    {
        std::swap(m_instance, other.m_instance);
        std::swap(m_id, other.m_id);
        return *this;
    }
    ~SignalConnection()
    {
        if (m_id)
            g_signal_handler_disconnect(m_instance, m_id);
    }

private:
    gpointer m_instance = nullptr;
    gulong m_id = 0;
};

} // namespace tq
