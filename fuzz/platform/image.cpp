// A captured picture: the bytes of its file, or its base64 text.

#include "fuzz/support/Fuzz.h"
#include "platform/Foundation/NSData.h"
#include "platform/UIKit/ImageSize.h"
#include "platform/UIKit/UIImage.h"

#include <string>

namespace tq::fuzz {
namespace {

std::string plainBase64(std::string_view bytes)
{
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); index += 3) {
        const auto byte = [&](std::size_t offset) {
            return index + offset < bytes.size() ? static_cast<std::uint8_t>(bytes[index + offset]) : 0U;
        };
        const std::uint32_t group = byte(0) << 16U | byte(1) << 8U | byte(2);
        for (const unsigned shift : { 18U, 12U, 6U, 0U })
            text += kDigits[group >> shift & 0x3FU];
        const auto missing = std::max(index + 3, bytes.size()) - bytes.size();
        text.replace(text.size() - missing, missing, missing, '=');
    }
    return text;
}

void checkImage(std::string_view bytes)
{
    const auto size = encodedImageSize(bytes);
    // Larger ones take too long to decode for so many inputs; the library's own limit is far above.
    const auto pixels = size ? std::uint64_t{ size->width } * size->height : 0;
    if (pixels > 1'000'000 && pixels <= 64'000'000)
        return;
    const auto image = UIImage::imageWithData(bytes);
    if (!image)
        return;
    expect(size.has_value(), "a picture says how large it is before it is decoded");
    expect(image->width() == static_cast<std::int64_t>(size->width)
            && image->height() == static_cast<std::int64_t>(size->height),
        "a picture is as large as it has said");
    const auto saved = encodedImageSize(image->pngRepresentation());
    expect(saved && saved->width == size->width && saved->height == size->height, "a saved picture is as large");
}

void check(std::string_view input)
{
    expect(bytesFromBase64(plainBase64(input)) == input, "the bytes of a base64 text are those that it was made of");
    if (const auto bytes = bytesFromBase64(input)) {
        expect(bytes->size() <= input.size() / 4 * 3 + 2, "a base64 text has three bytes for four characters");
        checkImage(*bytes);
    }
    checkImage(input);
}

} // namespace
} // namespace tq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tq::fuzz::check(tq::fuzz::textOf(data, size));
    return 0;
}
