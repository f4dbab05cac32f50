#include "NSDate.h"

#include <chrono>
#include <ctime>

namespace tq {

double timeIntervalSince1970()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

NSInteger secondsFromGMT()
{
    tzset();
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    return localtime_r(&now, &local) ? static_cast<NSInteger>(local.tm_gmtoff) : 0;
}

} // namespace tq
