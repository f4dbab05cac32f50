#include "NSJSONSerialization.h"

#include "JSONEncoding.h"
#include "JSONWriter.h"
#include "Unicode.h"

#include <array>
#include <boost/json/parse.hpp>
#include <boost/json/stream_parser.hpp>

namespace tq {

namespace {

// What cannot be written leaves the text as it was.
template <class Write> bool append(std::string& text, const Write& write)
{
    const auto size = text.size();
    JSONWriter writer;
    writer.text = std::move(text);
    const bool isWritten = write(writer) && writer.isValid();
    text = std::move(writer.text);
    if (!isWritten)
        text.resize(size);
    return isWritten;
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
        text += writtenJSON(value);
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
            NSJSONSerialization::appendText(text, member.key());
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
    JSONWriter writer;
    if (!value.is_structured() || !writer.write(value, 1) || !writer.isValid())
        return std::nullopt;
    return std::move(writer.text);
}

bool NSJSONSerialization::appendJSON(std::string& text, const boost::json::value& value)
{
    return append(text, [&](JSONWriter& writer) { return writer.write(value, 2); });
}

bool NSJSONSerialization::appendText(std::string& text, std::string_view value)
{
    return append(text, [&](JSONWriter& writer) {
        writer.writeText(value);
        return true;
    });
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

} // namespace tq
