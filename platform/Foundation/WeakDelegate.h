#pragma once

#include <concepts>
#include <memory>

namespace tq {

/// A class that has some of a protocol's optional methods. The bare protocol is none: it would hide which methods the
/// object really has.
template <class Delegate, class Protocol>
concept DelegateOf = std::derived_from<Delegate, Protocol> && !std::same_as<std::remove_cv_t<Delegate>, Protocol>;

/// A class in which the method can be named from outside.
template <template <class> class Method, class T>
concept HasMethod = requires
{
    typename Method<T>;
};

/// Whether a class has one of a protocol's optional methods, known from the class alone: the type of a pointer to an
/// inherited method names the protocol. A name that the class overloads or keeps private is its own, too.
/// @tparam Method says which: `template <class T> using Started = decltype(&T::started);`
template <template <class> class Method, class Delegate, class Protocol> consteval bool implements()
{
    if constexpr (HasMethod<Method, Delegate>)
        return !std::same_as<Method<Delegate>, Method<Protocol>>;
    else
        return true;
}

/// Holds a delegate weakly, together with which of its protocol's methods its class has. The protocol tells the latter
/// by `Protocol::methodsOf<Delegate>()`, from the class that the delegate was set by.
template <class Protocol> class WeakDelegate {
public:
    /// Takes the place of the delegate before; a null pointer leaves none.
    template <DelegateOf<Protocol> Delegate> void set(const std::shared_ptr<Delegate>& delegate)
    {
        m_delegate = delegate;
        m_methods = Protocol::template methodsOf<Delegate>();
    }
    /// Leaves no delegate.
    void clear() { m_delegate.reset(); }

    /// The delegate; absent when none was set or it is gone.
    std::shared_ptr<Protocol> get() const { return m_delegate.lock(); }

    /// The delegate if it is there and has the method.
    std::shared_ptr<Protocol> respondingTo(bool Protocol::Methods::*method) const
    {
        return m_methods.*method ? m_delegate.lock() : nullptr;
    }

private:
    std::weak_ptr<Protocol> m_delegate;
    typename Protocol::Methods m_methods;
};

} // namespace tq
