#pragma once

#include <optional>
#include <string_view>

namespace tq::conference {

enum class Role {
    Presenter, ///< draws, clears, records, changes roles
    Viewer, ///< watches
};

inline const char* nameOf(Role role) { return role == Role::Presenter ? "presenter" : "viewer"; }

inline std::optional<Role> roleNamed(std::string_view name)
{
    if (name == "presenter")
        return Role::Presenter;
    if (name == "viewer")
        return Role::Viewer;
    return std::nullopt;
}

} // namespace tq::conference
