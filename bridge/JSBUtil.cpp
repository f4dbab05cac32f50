#include "JSBUtil.h"

#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSObject.h"

namespace tq {

std::string JSBUtil::objToJsonString(const boost::json::value& object)
{
    return NSJSONSerialization::dataWithJSONObject(object).value_or("{}");
}

OptionalValue JSBUtil::jsonStringToObject(std::optional<std::string_view> text)
{
    if (!text)
        return std::nullopt;
    std::string error;
    auto value = NSJSONSerialization::JSONObjectWithData(*text, &error);
    if (value && !value->is_structured()) {
        error = "neither a map nor a list";
        value.reset();
    }
    if (!value)
        NSLog(TQWBLogLevel::Warning, "json解析失败：" + error);
    return value;
}

OptionalValue JSBUtil::takeData(OptionalValue& message)
{
    auto* members = message ? message->if_object() : nullptr;
    auto* data = members ? members->if_contains("data") : nullptr;
    if (!data || data->is_null())
        return std::nullopt;
    return std::move(*data);
}

std::vector<std::string> JSBUtil::allMethodFromClass(const NSClass* objectClass)
{
    std::vector<std::string> names;
    for (const auto* current = objectClass; current; current = current->superclass()) {
        for (const auto& method : current->methods())
            names.emplace_back(method.name());
        if (current->superclass() == &NSObject::staticClass())
            break;
    }
    return names;
}

OptionalText JSBUtil::methodByNameArg(std::int64_t argumentCount, std::string_view selName, const NSClass* objectClass)
{
    const auto candidates = objectClass ? objectClass->candidates(selName) : NSClass::Candidates();
    const auto* method = argumentCount == 1 ? candidates.sync : argumentCount == 2 ? candidates.async : nullptr;
    return method ? OptionalText(method->name()) : std::nullopt;
}

std::pair<std::string_view, std::string_view> JSBUtil::parseNamespace(std::string_view method)
{
    const auto dot = method.rfind('.');
    if (dot == std::string_view::npos)
        return { {}, method };
    return { method.substr(0, dot), method.substr(dot + 1) };
}

std::string_view JSBUtil::trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

} // namespace tq
