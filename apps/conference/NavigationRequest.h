#pragma once

#include "Refusal.h"

#include <string>
#include <string_view>
#include <variant>

namespace tq::conference {

/// The body of a navigation request: token=TOKEN&v=VERSION&p=iOS, in which nothing is escaped.
struct NavigationRequest {
    std::string token; ///< up to the last "&v=": it may hold anything
    std::string version;

    static std::variant<NavigationRequest, Refusal> parse(std::string_view body);
};

} // namespace tq::conference
