#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tq {

/// Width and height in pixels.
struct ImageSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// What the head of a PNG or JPEG file says of its size, without decoding it; absent for anything else.
std::optional<ImageSize> encodedImageSize(std::string_view bytes);

} // namespace tq
