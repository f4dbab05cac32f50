#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace tq::fuzz {

/// Ends the run as a fault unless the property holds.
inline void expect(bool holds, const char* property)
{
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", property);
    std::abort();
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size)
{
    return { reinterpret_cast<const char*>(data), size };
}

/// The first line, without its end, and what follows it.
inline std::pair<std::string_view, std::string_view> firstLineAndRest(std::string_view text)
{
    const auto end = std::min(text.find('\n'), text.size());
    return { text.substr(0, end), text.substr(std::min(end + 1, text.size())) };
}

} // namespace tq::fuzz

/// What a target defines: checks its properties with one input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
