#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tq {

/// What a picture's bytes are, by their beginning.
enum class ImageFormat { PNG, JPEG, GIF, BMP, TIFF };

/// Width and height in pixels, and the format that they were read by.
struct ImageSize {
    ImageFormat format;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Where the first picture ends, in bytes: of a moving one the others follow.
    std::size_t end = 0;
};

/// What the head of a picture's file says of its size, without decoding it: for GIF that of the whole screen, for TIFF
/// that of the first picture. Absent for anything else, and for a TIFF picture that takes far more memory to decode
/// than its size tells.
std::optional<ImageSize> encodedImageSize(std::string_view bytes);

/// The same for a picture that is to be decoded: absent, too, for one without a pixel, and for one of more than
/// 64,000,000, since a few bytes may claim to be a picture that fills the memory.
std::optional<ImageSize> decodableImageSize(std::string_view bytes);

} // namespace tq
