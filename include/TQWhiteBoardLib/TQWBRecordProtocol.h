#pragma once

#include "platform/Foundation/Export.h"
#include "platform/Foundation/NSTypes.h"
#include "platform/Foundation/WeakDelegate.h"

namespace tq {

/// Told of the recording of the room. Every method is optional; all run on the main thread, before the page goes on.
class TQWB_EXPORT TQWBRecordProtocol {
public:
    virtual ~TQWBRecordProtocol() = default;

    /// The room is being recorded from now on.
    virtual void onWBRecordStart();
    /// @param url where the recording can be replayed from; absent when the page sent no text.
    virtual void onWBRecordEnd(const OptionalText& url);

    /// @cond
    // Which of the methods a class has.
    struct Methods {
        bool onWBRecordStart = false;
        bool onWBRecordEnd = false;
    };
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = TQWBRecordProtocol;
        return {
            .onWBRecordStart = implements<OnWBRecordStart, Delegate, Protocol>(),
            .onWBRecordEnd = implements<OnWBRecordEnd, Delegate, Protocol>(),
        };
    }
    /// @endcond

private:
    template <class T> using OnWBRecordStart = decltype(&T::onWBRecordStart);
    template <class T> using OnWBRecordEnd = decltype(&T::onWBRecordEnd);
};

} // namespace tq
