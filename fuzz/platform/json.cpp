// A JSON text from anywhere.

#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/Unicode.h"

#include <boost/json/array.hpp>

namespace tq::fuzz {
namespace {

void checkRoundTrip(const boost::json::value& value)
{
    const auto compact = NSJSONSerialization::dataWithJSONObject(value);
    const auto pretty = NSJSONSerialization::prettyDataWithJSONObject(value);
    expect(compact.has_value() == (value.is_structured() && !hasNonFinite(value)), "what was read can be written");
    expect(compact.has_value() == pretty.has_value(), "what can be written can be written prettily");
    if (!compact)
        return;
    expect(isPlainlyUTF8(*compact), "what is written is UTF-8");
    const auto again = NSJSONSerialization::JSONObjectWithData(*compact);
    expect(again && areAlike(*again, value), "what is written reads as it was");
    const auto prettyAgain = NSJSONSerialization::JSONObjectWithData(*pretty);
    expect(prettyAgain && areAlike(*prettyAgain, value), "what is written prettily reads as it was");

    std::string appended = "[";
    if (NSJSONSerialization::appendJSON(appended, value))
        expect(appended == "[" + *compact, "what is appended is what is written alone");
    else
        expect(appended == "[", "what cannot be appended leaves the text as it was");
}

void checkMember(std::string_view text)
{
    std::size_t length = 0;
    const auto member = NSJSONSerialization::memberAtStart(text, length);
    if (!member)
        return;
    expect(length <= text.size(), "a member ends within its text");
    const auto alone = NSJSONSerialization::JSONObjectWithData(text.substr(0, length));
    expect(alone && areAlike(*alone, *member), "a member reads the same as it does alone");
}

} // namespace

void check(std::string_view text)
{
    const bool isText = isPlainlyUTF8(text);
    expect(isUTF8(text) == isText, "a text is UTF-8 if its characters are");
    std::string quoted;
    expect(NSJSONSerialization::appendText(quoted, text) == isText, "a text can be written if it is UTF-8");
    std::string error;
    const auto value = NSJSONSerialization::JSONObjectWithData(text, &error);
    expect(value.has_value() == error.empty(), "what cannot be read has an error");
    if (!isText)
        return;
    const auto unquoted = NSJSONSerialization::JSONObjectWithData(quoted);
    expect(unquoted && unquoted->is_string() && std::string_view(unquoted->get_string()) == text,
        "a text that was written reads as it was");
    if (value)
        checkRoundTrip(*value);
    checkMember(text);
}

} // namespace tq::fuzz
