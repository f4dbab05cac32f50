#pragma once

#include "platform/Foundation/Export.h"
#include "platform/Foundation/NSTypes.h"
#include "platform/Foundation/WeakDelegate.h"

namespace tq {

/// Told of the recording of the room. Every method is optional; all run on the main thread, before the page goes on.
class TQWB_EXPORT TQWBRecordProtocol {
public:
    virtual ~TQWBRecordProtocol() = default;

    virtual void onWBRecordStart();
    /// @param url where the recording can be replayed from; absent when the page sent no text.
    virtual void onWBRecordEnd(const OptionalText& url);

    /// Which of the methods a class has.
    struct Methods {
        bool onWBRecordStart = false;
        bool onWBRecordEnd = false;
    };
    // clang-format off: it takes what follows "requires" for statements.
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = TQWBRecordProtocol;
        return { .onWBRecordStart = !requires {
                     requires std::same_as<decltype(&Delegate::onWBRecordStart), decltype(&Protocol::onWBRecordStart)>;
    }
    , .onWBRecordEnd = !requires
    {
        requires std::same_as<decltype(&Delegate::onWBRecordEnd), decltype(&Protocol::onWBRecordEnd)>;
    }
    ,
};
} // namespace tq
}
;

} // namespace tq
