#include "ImageSize.h"

namespace tq {

namespace {

// A big-endian number of so many bytes; the caller has checked that they are there.
std::uint32_t bigEndian(std::string_view bytes, std::size_t offset, std::size_t count)
{
    std::uint32_t number = 0;
    for (const char byte : bytes.substr(offset, count))
        number = number << 8U | static_cast<std::uint8_t>(byte);
    return number;
}

std::optional<ImageSize> sizeOfPNG(std::string_view bytes)
{
    if (bytes.size() < 24 || bytes.substr(12, 4) != "IHDR")
        return std::nullopt;
    return ImageSize{ bigEndian(bytes, 16, 4), bigEndian(bytes, 20, 4) };
}

// Frame headers are the markers C0 to CF, but for three that mean tables.
bool isFrameHeader(std::uint32_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

std::optional<ImageSize> sizeOfJPEG(std::string_view bytes)
{
    std::size_t offset = 2;
    while (offset + 9 <= bytes.size() && bytes[offset] == '\xFF') {
        const auto marker = bigEndian(bytes, offset + 1, 1);
        if (marker == 0xFF) {
            ++offset;
            continue;
        }
        if (isFrameHeader(marker))
            return ImageSize{ bigEndian(bytes, offset + 7, 2), bigEndian(bytes, offset + 5, 2) };
        // Markers without a length do not stand before the frame in any usual file.
        const auto length = bigEndian(bytes, offset + 2, 2);
        if (marker < 0xC0 || (marker >= 0xD0 && marker <= 0xD9) || length < 2)
            return std::nullopt;
        offset += 2 + length;
    }
    return std::nullopt;
}

} // namespace

std::optional<ImageSize> encodedImageSize(std::string_view bytes)
{
    using namespace std::string_view_literals;
    if (bytes.starts_with("\x89PNG\r\n\x1A\n"sv))
        return sizeOfPNG(bytes);
    if (bytes.starts_with("\xFF\xD8\xFF"sv))
        return sizeOfJPEG(bytes);
    return std::nullopt;
}

} // namespace tq
