#include "JSONEncoding.h"

#include "Unicode.h"

#include <bit>
#include <cstdint>

namespace tq {

namespace {

struct Encoding {
    // Bytes of a unit; 1 for UTF-8.
    std::size_t width;
    std::endian order;
    std::size_t markLength;
};

// The first two characters of any JSON text but the shortest are ASCII: zeros show how wide a unit is.
Encoding encodingOf(std::string_view data)
{
    const auto isZero = [&](std::size_t index) { return index < data.size() && !data[index]; };
    if (data.starts_with("\xEF\xBB\xBF"))
        return { 1, std::endian::native, 3 };
    if (data.starts_with(std::string_view("\0\0\xFE\xFF", 4)))
        return { 4, std::endian::big, 4 };
    if (data.starts_with(std::string_view("\xFF\xFE\0\0", 4)))
        return { 4, std::endian::little, 4 };
    if (data.starts_with("\xFE\xFF"))
        return { 2, std::endian::big, 2 };
    if (data.starts_with("\xFF\xFE"))
        return { 2, std::endian::little, 2 };
    if (isZero(0))
        return { isZero(1) ? 4U : 2U, std::endian::big, 0 };
    if (isZero(1))
        return { isZero(2) && isZero(3) ? 4U : 2U, std::endian::little, 0 };
    return { 1, std::endian::native, 0 };
}

std::uint32_t unitAt(std::string_view data, const Encoding& encoding)
{
    std::uint32_t unit = 0;
    for (std::size_t index = 0; index < encoding.width; ++index) {
        const auto place = encoding.order == std::endian::big ? index : encoding.width - 1 - index;
        unit = unit << 8U | static_cast<unsigned char>(data[place]);
    }
    return unit;
}

bool isSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

bool decode(std::string_view data, const Encoding& encoding, std::string& text)
{
    if (data.size() % encoding.width)
        return false;
    while (!data.empty()) {
        auto character = unitAt(data, encoding);
        data.remove_prefix(encoding.width);
        if (encoding.width == 2 && isSurrogate(character)) {
            const auto low = data.empty() ? 0 : unitAt(data, encoding);
            if (character >= 0xDC00 || low < 0xDC00 || !isSurrogate(low))
                return false;
            data.remove_prefix(encoding.width);
            character = 0x10000U + ((character & 0x3FFU) << 10U) + (low & 0x3FFU);
        }
        if (character > 0x10FFFF || isSurrogate(character))
            return false;
        appendCharacter(text, character);
    }
    return true;
}

} // namespace

std::optional<std::string_view> utf8OfJSON(std::string_view data, std::string& storage)
{
    const auto encoding = encodingOf(data);
    data.remove_prefix(encoding.markLength);
    if (encoding.width == 1)
        return data;
    storage.clear();
    if (!decode(data, encoding, storage))
        return std::nullopt;
    return storage;
}

} // namespace tq
