#pragma once

#include "platform/Foundation/Export.h"
#include "platform/Foundation/NSTypes.h"
#include "platform/Foundation/WeakDelegate.h"

namespace tq {

/// Told what the user may do in the room. Every method is optional; all run on the main thread, before the page goes
/// on.
class TQWB_EXPORT TQWBPermissionProtocol {
public:
    virtual ~TQWBPermissionProtocol() = default;

    /// @param status the page's own number for the new permission, see `TQWBPermission`; 0 when it sent none.
    virtual void onWBPermissionChange(NSInteger status);

    /// @cond
    // Which of the methods a class has.
    struct Methods {
        bool onWBPermissionChange = false;
    };
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = TQWBPermissionProtocol;
        return {
            .onWBPermissionChange = implements<OnWBPermissionChange, Delegate, Protocol>(),
        };
    }
    /// @endcond

private:
    template <class T> using OnWBPermissionChange = decltype(&T::onWBPermissionChange);
};

} // namespace tq
