#include "NSJSONSerialization.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cmath>
#include <cstring>

namespace tq {

namespace {

constexpr std::size_t kMaxDepth = 512;

// Whether every number is finite and no container lies too deep.
bool canBeWritten(const boost::json::value& value, std::size_t depth)
{
    if (const auto* number = value.if_double())
        return std::isfinite(*number);
    if (depth > kMaxDepth)
        return false;
    if (const auto* list = value.if_array()) {
        for (const auto& element : *list) {
            if (!canBeWritten(element, depth + 1))
                return false;
        }
    } else if (const auto* map = value.if_object()) {
        for (const auto& member : *map) {
            if (!canBeWritten(member.value(), depth + 1))
                return false;
        }
    }
    return true;
}

bool isJSONObject(const boost::json::value& value) { return value.is_structured() && canBeWritten(value, 1); }

// The length of the sequence that begins here, or 0 when it is none.
std::size_t sequenceLength(const unsigned char* bytes, std::size_t available)
{
    auto continues = [&](std::size_t index) { return index < available && (bytes[index] & 0xC0U) == 0x80U; };
    const unsigned lead = bytes[0];
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return continues(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (!continues(1) || !continues(2))
            return 0;
        const bool isOverlong = lead == 0xE0 && bytes[1] < 0xA0;
        const bool isSurrogate = lead == 0xED && bytes[1] > 0x9F;
        return isOverlong || isSurrogate ? 0 : 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (!continues(1) || !continues(2) || !continues(3))
            return 0;
        const bool isOverlong = lead == 0xF0 && bytes[1] < 0x90;
        const bool isBeyondUnicode = lead == 0xF4 && bytes[1] > 0x8F;
        return isOverlong || isBeyondUnicode ? 0 : 4;
    }
    return 0;
}

void indent(std::string& text, std::size_t depth)
{
    text += '\n';
    text.append(2 * depth, ' ');
}

void writePretty(std::string& text, const boost::json::value& value, std::size_t depth)
{
    const auto* list = value.if_array();
    const auto* map = value.if_object();
    if ((!list || list->empty()) && (!map || map->empty())) {
        text += boost::json::serialize(value);
        return;
    }
    text += list ? '[' : '{';
    const char* separator = "";
    if (list) {
        for (const auto& element : *list) {
            text += separator;
            indent(text, depth + 1);
            writePretty(text, element, depth + 1);
            separator = ",";
        }
    } else {
        for (const auto& member : *map) {
            text += separator;
            indent(text, depth + 1);
            text += boost::json::serialize(member.key());
            text += " : ";
            writePretty(text, member.value(), depth + 1);
            separator = ",";
        }
    }
    indent(text, depth);
    text += list ? ']' : '}';
}

} // namespace

OptionalValue NSJSONSerialization::JSONObjectWithData(std::string_view text, std::string* error)
{
    boost::json::parse_options options;
    options.max_depth = kMaxDepth;
    boost::json::error_code failure;
    auto value = boost::json::parse({ text.data(), text.size() }, failure, {}, options);
    if (!failure)
        return value;
    if (error)
        *error = failure.message();
    return std::nullopt;
}

OptionalText NSJSONSerialization::dataWithJSONObject(const boost::json::value& value)
{
    if (!isJSONObject(value))
        return std::nullopt;
    auto text = boost::json::serialize(value);
    return isUTF8(text) ? OptionalText(std::move(text)) : std::nullopt;
}

OptionalText NSJSONSerialization::prettyDataWithJSONObject(const boost::json::value& value)
{
    if (!isJSONObject(value))
        return std::nullopt;
    std::string text;
    writePretty(text, value, 0);
    return isUTF8(text) ? OptionalText(std::move(text)) : std::nullopt;
}

bool isUTF8(std::string_view bytes)
{
    const auto* next = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    while (left) {
        // Most text is ASCII: take it eight bytes at a time.
        for (std::uint64_t word = 0; left >= sizeof(word); next += sizeof(word), left -= sizeof(word)) {
            std::memcpy(&word, next, sizeof(word));
            if (word & 0x8080808080808080U)
                break;
        }
        if (!left)
            return true;
        const auto length = sequenceLength(next, left);
        if (!length)
            return false;
        next += length;
        left -= length;
    }
    return true;
}

} // namespace tq
