#include "JSONWriter.h"

#include "NSJSONSerialization.h"
#include "Unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace tq {

namespace {

constexpr std::size_t kSlack = 64;

// Which characters of a text are written otherwise than as they are.
bool needsEscape(unsigned char character) { return character < 0x20 || character == '"' || character == '\\'; }

// Bytes that are looked at together, by vector instructions where there are any.
using Block [[gnu::vector_size(16)]] = unsigned char;

bool hasAny(const Block& flags)
{
    std::array<std::uint64_t, sizeof(Block) / sizeof(std::uint64_t)> words;
    std::memcpy(words.data(), &flags, sizeof(flags));
    return std::ranges::any_of(words, [](std::uint64_t word) { return word != 0; });
}

// The storage of a large text, for the next one of this thread: new memory is slow when it is first touched.
thread_local std::string s_spare;
constexpr std::size_t kSmallestSpare = 65536;
constexpr std::size_t kLargestSpare = std::size_t{ 8 } << 20U;

// The digits of a number, and where its point is: before digit 0 when 0, after it when 1.
struct Decimal {
    std::string_view digits;
    int point;
};

// Of "1.8865e-01".
Decimal decimalOf(std::string_view scientific, std::array<char, 32>& digits)
{
    const auto mark = scientific.find('e');
    auto* end = std::ranges::copy_if(scientific.substr(0, mark), digits.begin(), [](char character) {
        return character != '.';
    }).out;
    int exponent = 0;
    auto text = scientific.substr(mark + 1);
    if (text.starts_with('+'))
        text.remove_prefix(1);
    std::from_chars(text.data(), text.data() + text.size(), exponent);
    return { { digits.data(), static_cast<std::size_t>(end - digits.begin()) }, exponent + 1 };
}

template <class Integer> void appendInteger(std::string& text, Integer number)
{
    std::array<char, 24> characters; // NOLINT(cppcoreguidelines-pro-type-member-init): to be filled
    const auto end = std::to_chars(characters.data(), characters.data() + characters.size(), number).ptr;
    text.append(characters.data(), end);
}

} // namespace

void appendNumber(std::string& text, double number)
{
    // From here on a page writes exponents; up to here every whole number has its digits before the point.
    constexpr int kMostWhole = 21;
    constexpr int kMostZeros = 6;
    constexpr double kExactlyWhole = 9007199254740992; // 2 to the 53rd
    if (std::abs(number) < kExactlyWhole && std::trunc(number) == number) {
        appendInteger(text, static_cast<std::int64_t>(number));
        return;
    }
    if (number < 0)
        text += '-';
    std::array<char, 32> characters;
    const auto written = std::to_chars(
        characters.data(), characters.data() + characters.size(), std::abs(number), std::chars_format::scientific);
    std::array<char, 32> storage;
    const auto [digits, point] = decimalOf({ characters.data(), written.ptr }, storage);
    const auto count = static_cast<int>(digits.size());
    if (point > 0 && point <= kMostWhole) {
        text += digits.substr(0, static_cast<std::size_t>(std::min(point, count)));
        if (point >= count)
            text.append(static_cast<std::size_t>(point - count), '0');
        else
            text.append(".").append(digits.substr(static_cast<std::size_t>(point)));
    } else if (point <= 0 && point > -kMostZeros) {
        text.append("0.").append(static_cast<std::size_t>(-point), '0').append(digits);
    } else {
        text += digits[0];
        if (count > 1)
            text.append(".").append(digits.substr(1));
        text += point > 0 ? "e+" : "e-";
        appendInteger(text, std::abs(point - 1));
    }
}

std::string writtenJSON(const boost::json::value& value, std::size_t most)
{
    JSONWriter writer(JSONWriter::Unwritable::IsNull);
    writer.setMost(most);
    writer.write(value, 1);
    return std::move(writer.text);
}

bool JSONWriter::write(const boost::json::value& value, std::size_t depth)
{
    switch (value.kind()) {
    case boost::json::kind::string:
        writeText(value.get_string());
        return true;
    case boost::json::kind::array:
        return !isTooDeep(depth) && writeList(value.get_array(), depth);
    case boost::json::kind::object:
        return !isTooDeep(depth) && writeMap(value.get_object(), depth);
    case boost::json::kind::double_:
        if (!std::isfinite(value.get_double()))
            return writeNonFinite();
        appendNumber(text, value.get_double());
        return true;
    case boost::json::kind::int64:
        appendInteger(text, value.get_int64());
        return true;
    case boost::json::kind::uint64:
        appendInteger(text, value.get_uint64());
        return true;
    case boost::json::kind::bool_:
        text += value.get_bool() ? "true" : "false";
        return true;
    case boost::json::kind::null:
        text += "null";
        return true;
    }
    return false;
}

bool JSONWriter::writeNonFinite()
{
    text += "null";
    return m_unwritable == Unwritable::IsNull;
}

bool JSONWriter::isTooDeep(std::size_t depth) const
{
    return m_unwritable == Unwritable::Fails && depth > NSJSONSerialization::kMaxDepth;
}

void JSONWriter::writeText(std::string_view characters)
{
    characters = characters.substr(0, m_most);
    makeRoom(characters.size() + kSlack);
    text += '"';
    while (!characters.empty()) {
        const auto plain = plainLength(characters);
        text.append(characters, 0, plain);
        if (plain == characters.size())
            break;
        writeEscape(static_cast<unsigned char>(characters[plain]));
        characters.remove_prefix(plain + 1);
    }
    text += '"';
}

bool JSONWriter::isValid() const { return m_isAscii || isUTF8(text); }

bool JSONWriter::writeList(const boost::json::array& list, std::size_t depth)
{
    char separator = '[';
    for (const auto& element : list) {
        text += separator;
        if (isEnough() || !write(element, depth + 1))
            return false;
        separator = ',';
    }
    text += list.empty() ? "[]" : "]";
    return true;
}

bool JSONWriter::writeMap(const boost::json::object& map, std::size_t depth)
{
    char separator = '{';
    for (const auto& member : map) {
        text += separator;
        writeText(member.key());
        text += ':';
        if (isEnough() || !write(member.value(), depth + 1))
            return false;
        separator = ',';
    }
    text += map.empty() ? "{}" : "}";
    return true;
}

// A large text is copied into its place once, and that place may have been used before.
void JSONWriter::makeRoom(std::size_t size)
{
    if (text.capacity() - text.size() >= size)
        return;
    if (size >= kSmallestSpare && s_spare.capacity() >= text.size() + size) {
        s_spare.assign(text);
        text.swap(s_spare);
    } else {
        text.reserve(2 * text.size() + size);
    }
}

std::size_t JSONWriter::plainLength(std::string_view characters)
{
    std::size_t length = 0;
    Block seen{};
    for (Block block; characters.size() - length >= sizeof(block); length += sizeof(block)) {
        std::memcpy(&block, characters.data() + length, sizeof(block));
        seen |= block;
        if (hasAny((block < 0x20) | (block == '"') | (block == '\\')))
            break;
    }
    m_isAscii = m_isAscii && !hasAny(seen & 0x80);
    for (; length < characters.size(); ++length) {
        const auto character = static_cast<unsigned char>(characters[length]);
        m_isAscii = m_isAscii && character < 0x80;
        if (needsEscape(character))
            break;
    }
    return length;
}

void JSONWriter::writeEscape(unsigned char character)
{
    constexpr std::string_view kNamed = "\"\\\b\f\n\r\t";
    constexpr std::string_view kNames = "\"\\bfnrt";
    constexpr std::string_view kDigits = "0123456789abcdef";
    text += '\\';
    if (const auto place = kNamed.find(static_cast<char>(character)); place != kNamed.npos) {
        text += kNames[place];
        return;
    }
    text += "u00";
    text += kDigits[character >> 4U];
    text += kDigits[character & 0xFU];
}

void JSONWriter::reuse(std::string&& text)
{
    // Most are small, and need not look for the thread's own storage.
    if (text.capacity() < kSmallestSpare || text.capacity() > kLargestSpare)
        return;
    if (text.capacity() >= s_spare.capacity())
        s_spare = std::move(text);
}

} // namespace tq
