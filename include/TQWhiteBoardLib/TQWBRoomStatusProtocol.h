#pragma once

#include "TQWBException.h"
#include "platform/Foundation/Export.h"
#include "platform/Foundation/WeakDelegate.h"
#include "platform/UIKit/UIImage.h"

#include <memory>

namespace tq {

/// Told what becomes of the room. Every method is optional; all run on the main thread, before the page goes on.
class TQWB_EXPORT TQWBRoomStatusProtocol {
public:
    virtual ~TQWBRoomStatusProtocol() = default;

    /// The user has left the room. The view may be destroyed from now on.
    virtual void onWBRoomQuit();
    /// The room has failed. The view may be destroyed from now on.
    virtual void onWBRoomException(const TQWBException& exception);
    /// A picture of the board has been taken.
    /// @param image absent when what the page sent is no picture.
    virtual void onWBCaptureEnd(const std::shared_ptr<UIImage>& image);

    /// @cond
    // Which of the methods a class has.
    struct Methods {
        bool onWBRoomQuit = false;
        bool onWBRoomException = false;
        bool onWBCaptureEnd = false;
    };
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = TQWBRoomStatusProtocol;
        return {
            .onWBRoomQuit = implements<OnWBRoomQuit, Delegate, Protocol>(),
            .onWBRoomException = implements<OnWBRoomException, Delegate, Protocol>(),
            .onWBCaptureEnd = implements<OnWBCaptureEnd, Delegate, Protocol>(),
        };
    }
    /// @endcond

private:
    template <class T> using OnWBRoomQuit = decltype(&T::onWBRoomQuit);
    template <class T> using OnWBRoomException = decltype(&T::onWBRoomException);
    template <class T> using OnWBCaptureEnd = decltype(&T::onWBCaptureEnd);
};

} // namespace tq
