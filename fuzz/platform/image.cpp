// A captured picture: the bytes of its file, or its base64 text.

#include "fuzz/support/Fuzz.h"
#include "platform/Foundation/NSData.h"
#include "platform/UIKit/ImageSize.h"
#include "platform/UIKit/UIImage.h"

#include <string>

namespace tq::fuzz {
namespace {

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

} // namespace

void check(std::string_view input)
{
    if (const auto bytes = bytesFromBase64(input)) {
        expect(bytes->size() <= input.size() / 4 * 3 + 2, "a base64 text has three bytes for four characters");
        checkImage(*bytes);
    }
    checkImage(input);
}

} // namespace tq::fuzz
