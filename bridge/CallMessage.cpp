#include "CallMessage.h"

#include "JSBUtil.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"

#include <utility>

namespace tq {

namespace {

constexpr std::string_view kData = R"({"data":)";
constexpr std::string_view kCallback = R"(,"_dscbstub":")";
constexpr std::string_view kNameCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz$_.";

// The form that JSON.stringify gives the messages of most pages, read without making a map of the two members.
// @returns false, with nothing read, for any other form.
bool readPlainForm(std::string_view text, CallMessage& message)
{
    if (!text.starts_with(kData) || !isUTF8(text))
        return false;
    text.remove_prefix(kData.size());
    std::size_t length = 0;
    auto data = NSJSONSerialization::memberAtStart(text, length);
    if (!data)
        return false;
    text.remove_prefix(length);
    OptionalText callbackName;
    if (text.starts_with(kCallback)) {
        text.remove_prefix(kCallback.size());
        const auto end = text.find_first_not_of(kNameCharacters);
        if (end == text.npos || text[end] != '"')
            return false;
        callbackName = text.substr(0, end);
        text.remove_prefix(end + 1);
    }
    if (text != "}")
        return false;
    if (!data->is_null())
        message.data = std::move(data);
    message.callbackName = std::move(callbackName);
    return true;
}

} // namespace

CallMessage CallMessage::read(std::optional<std::string_view> text)
{
    CallMessage message;
    if (text && readPlainForm(*text, message))
        return message;
    auto value = JSBUtil::jsonStringToObject(text);
    message.data = JSBUtil::takeData(value);
    if (const auto* name = memberOf(value, "_dscbstub"); name && !name->is_null())
        message.callbackName = textValue(name).value_or("");
    return message;
}

} // namespace tq
