#include "Dispatch.h"

#include "NSLog.h"

#include <exception>

namespace tq {

void logCurrentException()
{
    try {
        throw;
    } catch (const std::exception& exception) {
        NSLog(TQWBLogLevel::Error, exception.what());
    } catch (...) {
        NSLog(TQWBLogLevel::Error, "an exception of unknown type");
    }
}

} // namespace tq
