#pragma once

#include "Refusal.h"
#include "Role.h"

#include <chrono>
#include <string>
#include <string_view>
#include <variant>

namespace tq::conference {

/// The body of a join request. A body of any other shape is refused with a text that names the fault.
struct JoinRequest {
    static constexpr std::size_t s_longestUid = 128;
    static constexpr std::size_t s_longestName = 128;

    std::string uid;
    std::string name;
    Role role = Role::Viewer;
    std::chrono::minutes minutes{};

    static std::variant<JoinRequest, Refusal> parse(std::string_view body);
};

} // namespace tq::conference
