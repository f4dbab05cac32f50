#pragma once

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>

namespace tq::fuzz {

/// What each target defines: checks its properties with one input.
void check(std::string_view input);

/// Ends the run as a fault unless the property holds.
inline void expect(bool holds, const char* property)
{
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", property);
    std::abort();
}

/// The first line, without its end, and what follows it; absent when there is no second line.
inline std::pair<std::string_view, std::optional<std::string_view>> firstLineAndRest(std::string_view text)
{
    const auto end = text.find('\n');
    return { text.substr(0, end), end == text.npos ? std::nullopt : std::optional(text.substr(end + 1)) };
}

} // namespace tq::fuzz
