#pragma once

namespace tq {

/// Lets a smart pointer release what a C library has made.
template <auto Release> struct Releaser {
    template <class T> void operator()(T* pointer) const { Release(pointer); }
};

} // namespace tq
