#pragma once

#include <boost/json/array.hpp>
#include <cstdint>
#include <string>

namespace tq {

/// One call of a function of the page.
struct DSCallInfo {
    /// The name under which the page has registered the function.
    std::string method;
    /// Names the call in the page's answers; counts from 0 in every view.
    std::int32_t id = 0;
    /// What the function is called with.
    boost::json::array args;
};

} // namespace tq
