#pragma once

#include "NSClass.h"

#include <boost/json/object.hpp>
#include <string_view>

namespace tq {

/// The root of the library's objects. A class whose methods the page may call publishes them in a table of its own:
///
/// ```
/// class Clock : public tq::NSObject {
/// public:
///     const tq::NSClass& objectClass() const override { return staticClass(); }
///     static const tq::NSClass& staticClass()
///     {
///         static const auto table = tq::NSClass::of<Clock>(
///             "Clock", &tq::NSObject::staticClass(), { { "now:", &Clock::now } });
///         return table;
///     }
///     tq::OptionalValue now(tq::OptionalValue argument);
/// };
/// ```
class TQWB_EXPORT NSObject {
public:
    NSObject() = default;
    NSObject(const NSObject&) = delete;
    NSObject& operator=(const NSObject&) = delete;
    virtual ~NSObject();

    /// The root class: its table is empty, and nothing of it can ever be called from a page.
    static const NSClass& staticClass();
    /// The most derived class of this object.
    virtual const NSClass& objectClass() const { return staticClass(); }

    /// Told of a change of an observed property; the root ignores it.
    /// @param keyPath the property's name. @param object what was observed.
    /// @param change the new value under "new". @param context what was given with the registration.
    virtual void observeValueForKeyPath(
        std::string_view keyPath, NSObject* object, const boost::json::object& change, void* context);
};

} // namespace tq
