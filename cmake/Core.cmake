# What needs neither the engine nor anything else of the system but the C++ library, Boost.JSON and a log: the rules of
# the bridge, of navigation and of the session. Listed apart, so that it can be built for other machines alone.
set(TQWB_CORE_SOURCES
    bridge/AsyncResult.cpp
    bridge/CallMessage.cpp
    bridge/JSBUtil.cpp
    bridge/NativeFunctions.cpp
    bridge/NativeObjects.cpp
    bridge/PageAnswer.cpp
    bridge/PercentEncoding.cpp
    bridge/ScriptBatch.cpp
    navigation/NaviAddresses.cpp
    navigation/NaviAnswer.cpp
    navigation/NaviEntry.cpp
    platform/Foundation/JSONEncoding.cpp
    platform/Foundation/NSClass.cpp
    platform/Foundation/NSConversion.cpp
    platform/Foundation/NSData.cpp
    platform/Foundation/NSDate.cpp
    platform/Foundation/NSJSONSerialization.cpp
    platform/Foundation/NSLog.cpp
    platform/Foundation/NSNumberReading.cpp
    platform/Foundation/NSObject.cpp
    platform/Foundation/NSStream.cpp
    platform/UIKit/ImageSize.cpp
    session/ConfigRules.cpp
    session/ServiceAnswer.cpp
)
