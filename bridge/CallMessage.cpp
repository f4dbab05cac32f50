#include "CallMessage.h"

#include "JSBUtil.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"
#include "platform/Foundation/Unicode.h"

#include <utility>

namespace tq {

namespace {

constexpr std::string_view kData = R"("data":)";
constexpr std::string_view kCallback = R"("_dscbstub":")";
constexpr std::string_view kMore = R"("_tq":1)";
constexpr std::string_view kSecret = R"("_tqframe":")";
constexpr std::string_view kNameCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz$_.";

// Takes as long wherever the two differ, so that nobody can find the one out piece by piece.
bool isSecret(std::string_view text, std::string_view secret)
{
    if (secret.empty() || text.size() != secret.size())
        return false;
    unsigned difference = 0;
    for (std::size_t index = 0; index < text.size(); ++index)
        difference |= static_cast<unsigned>(static_cast<unsigned char>(text[index] ^ secret[index]));
    return difference == 0;
}

// Takes what is expected off the beginning. @returns false when it is not there.
bool take(std::string_view& text, std::string_view expected)
{
    if (!text.starts_with(expected))
        return false;
    text.remove_prefix(expected.size());
    return true;
}

// Takes a text of plain characters off the beginning, and the quotation mark behind it.
std::optional<std::string_view> takeName(std::string_view& text)
{
    const auto end = text.find_first_not_of(kNameCharacters);
    if (end == text.npos || text[end] != '"')
        return std::nullopt;
    const auto name = text.substr(0, end);
    text.remove_prefix(end + 1);
    return name;
}

} // namespace

std::optional<CallMessage> CallMessage::readPlain(std::optional<std::string_view> given, std::string_view secret)
{
    // Read without making a map of the members.
    if (!given || !given->starts_with('{') || !isUTF8(*given))
        return std::nullopt;
    auto text = given->substr(1);
    bool isFirst = true;
    const auto takeMember = [&](std::string_view begin) {
        auto rest = text;
        if ((!isFirst && !take(rest, ",")) || !take(rest, begin))
            return false;
        text = rest;
        isFirst = false;
        return true;
    };
    std::optional<CallMessage> message(std::in_place);
    if (takeMember(kData)) {
        std::size_t length = 0;
        message->data = NSJSONSerialization::memberAtStart(text, length);
        if (!message->data)
            return std::nullopt;
        text.remove_prefix(length);
        if (message->data->is_null())
            message->data.reset();
    }
    if (takeMember(kCallback) && !(message->callbackName = takeName(text)))
        return std::nullopt;
    message->asksForMore = takeMember(kMore);
    if (takeMember(kSecret)) {
        const auto name = takeName(text);
        if (!name)
            return std::nullopt;
        message->hasSecret = isSecret(*name, secret);
    }
    return text == "}" ? std::move(message) : std::nullopt;
}

CallMessage CallMessage::read(std::optional<std::string_view> text)
{
    auto plain = readPlain(text);
    return plain ? std::move(*plain) : readAny(text);
}

CallMessage CallMessage::readAny(std::optional<std::string_view> text, std::string_view secret)
{
    CallMessage message;
    auto value = JSBUtil::jsonStringToObject(text);
    message.data = JSBUtil::takeData(value);
    if (const auto* name = memberOf(value, "_dscbstub"); name && !name->is_null())
        message.callbackName = textValue(name).value_or("");
    message.asksForMore = wholeNumber(memberOf(value, "_tq")) == 1;
    if (const auto* given = memberOf(value, "_tqframe"); given && given->is_string())
        message.hasSecret = isSecret(given->get_string(), secret);
    return message;
}

} // namespace tq
