#include "NSJSONSerialization.h"

#include "JSONEncoding.h"

#include <algorithm>
#include <array>
#include <bit>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/stream_parser.hpp>
#include <cmath>
#include <cstring>

namespace tq {

namespace {

constexpr std::size_t kMaxDepth = 512;

// Which characters of a text are written otherwise than as they are.
bool needsEscape(unsigned char character) { return character < 0x20 || character == '"' || character == '\\'; }

// Bytes that are looked at together, by vector instructions where there are any.
using Block [[gnu::vector_size(16)]] = unsigned char;

bool hasAny(Block flags)
{
    std::array<std::uint64_t, sizeof(Block) / sizeof(std::uint64_t)> words;
    std::memcpy(words.data(), &flags, sizeof(flags));
    return std::ranges::any_of(words, [](std::uint64_t word) { return word != 0; });
}

// The storage of a large text, for the next one of this thread: new memory is slow when it is first touched.
thread_local std::string s_spare;
constexpr std::size_t kSmallestSpare = 65536;
constexpr std::size_t kLargestSpare = std::size_t{ 8 } << 20U;

// Writes compact JSON, texts in large pieces: they may be megabytes.
class Writer {
public:
    /// False when the value cannot be written: a number that is not finite, a container that lies too deep.
    bool write(const boost::json::value& value, std::size_t depth)
    {
        switch (value.kind()) {
        case boost::json::kind::string:
            writeText(value.get_string());
            return true;
        case boost::json::kind::array:
            return depth <= kMaxDepth && writeList(value.get_array(), depth);
        case boost::json::kind::object:
            return depth <= kMaxDepth && writeMap(value.get_object(), depth);
        case boost::json::kind::double_:
            if (!std::isfinite(value.get_double()))
                return false;
            [[fallthrough]];
        default:
            text += boost::json::serialize(value);
            return true;
        }
    }

    void writeText(std::string_view characters)
    {
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

    /// Whether all texts that were written are UTF-8.
    bool isValid() const { return m_isAscii || isUTF8(text); }

    std::string text;

private:
    static constexpr std::size_t kSlack = 64;

    bool writeList(const boost::json::array& list, std::size_t depth)
    {
        char separator = '[';
        for (const auto& element : list) {
            text += separator;
            if (!write(element, depth + 1))
                return false;
            separator = ',';
        }
        text += list.empty() ? "[]" : "]";
        return true;
    }

    bool writeMap(const boost::json::object& map, std::size_t depth)
    {
        char separator = '{';
        for (const auto& member : map) {
            text += separator;
            writeText(member.key());
            text += ':';
            if (!write(member.value(), depth + 1))
                return false;
            separator = ',';
        }
        text += map.empty() ? "{}" : "}";
        return true;
    }

    // A large text is copied into its place once, and that place may have been used before.
    void makeRoom(std::size_t size)
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

    std::size_t plainLength(std::string_view characters)
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

    void writeEscape(unsigned char character)
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

    bool m_isAscii = true;
};

// What cannot be written leaves the text as it was.
template <class Write> bool append(std::string& text, const Write& write)
{
    const auto size = text.size();
    Writer writer;
    writer.text = std::move(text);
    const bool isWritten = write(writer) && writer.isValid();
    text = std::move(writer.text);
    if (!isWritten)
        text.resize(size);
    return isWritten;
}

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

// Whether the word begins with two characters of three bytes each; it may say no to some. (The two leads that have
// rules of their own are left out.)
bool areTwoOfThreeBytes(std::uint64_t word)
{
    if constexpr (std::endian::native != std::endian::little)
        return false;
    const auto first = word & 0xFFU;
    const auto second = word >> 24U & 0xFFU;
    return (word & 0xC0C0F0C0C0F0U) == 0x8080E08080E0U && first != 0xE0 && first != 0xED && second != 0xE0
        && second != 0xED;
}

// Checking a whole text for being UTF-8 costs less than checking every string of it.
boost::json::parse_options optionsFor(std::size_t maxDepth)
{
    boost::json::parse_options options;
    options.max_depth = maxDepth;
    options.allow_invalid_utf8 = true;
    return options;
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

OptionalValue NSJSONSerialization::JSONObjectWithData(std::string_view data, std::string* error)
{
    std::string storage;
    const auto text = utf8OfJSON(data, storage);
    if (!text || !isUTF8(*text)) {
        if (error)
            *error = "the text is not UTF-8, UTF-16 or UTF-32";
        return std::nullopt;
    }
    boost::json::error_code failure;
    auto value = boost::json::parse({ text->data(), text->size() }, failure, {}, optionsFor(kMaxDepth));
    if (!failure)
        return value;
    if (error)
        *error = failure.message();
    return std::nullopt;
}

OptionalValue NSJSONSerialization::memberAtStart(std::string_view text, std::size_t& length)
{
    std::array<unsigned char, 4096> stack; // NOLINT(cppcoreguidelines-pro-type-member-init): the parser's to fill
    boost::json::stream_parser parser({}, optionsFor(kMaxDepth - 1), stack.data(), stack.size());
    boost::json::error_code failure;
    length = parser.write_some(text.data(), text.size(), failure);
    if (failure || !parser.done())
        return std::nullopt;
    return parser.release();
}

OptionalText NSJSONSerialization::dataWithJSONObject(const boost::json::value& value)
{
    Writer writer;
    if (!value.is_structured() || !writer.write(value, 1) || !writer.isValid())
        return std::nullopt;
    return std::move(writer.text);
}

bool NSJSONSerialization::appendJSON(std::string& text, const boost::json::value& value)
{
    return append(text, [&](Writer& writer) { return writer.write(value, 2); });
}

bool NSJSONSerialization::appendText(std::string& text, std::string_view value)
{
    return append(text, [&](Writer& writer) {
        writer.writeText(value);
        return true;
    });
}

void NSJSONSerialization::reuse(std::string&& text)
{
    // Most are small, and need not look for the thread's own storage.
    if (text.capacity() < kSmallestSpare || text.capacity() > kLargestSpare)
        return;
    if (text.capacity() >= s_spare.capacity())
        s_spare = std::move(text);
}

OptionalText NSJSONSerialization::prettyDataWithJSONObject(const boost::json::value& value)
{
    // What can be written at all can be written prettily.
    if (!dataWithJSONObject(value))
        return std::nullopt;
    std::string text;
    writePretty(text, value, 0);
    return text;
}

bool isUTF8(std::string_view bytes)
{
    const auto* next = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    while (left) {
        // Most text is ASCII, or characters of three bytes: take eight bytes, or two characters, at a time.
        for (std::uint64_t word = 0; left >= sizeof(word);) {
            std::memcpy(&word, next, sizeof(word));
            const auto taken = !(word & 0x8080808080808080U) ? sizeof(word) : areTwoOfThreeBytes(word) ? 6U : 0U;
            if (!taken)
                break;
            next += taken;
            left -= taken;
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
