#include "NSLog.h"

#include <boost/json/serialize.hpp>

namespace tq {

std::string describe(const OptionalValue& value)
{
    if (!value)
        return std::string(kAbsentText);
    if (const auto* text = value->if_string())
        return std::string(*text);
    return boost::json::serialize(*value);
}

} // namespace tq
