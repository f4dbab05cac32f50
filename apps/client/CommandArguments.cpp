#include "CommandArguments.h"

#include "Text.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <glib.h>

namespace tqclient {

namespace {

/// As deep as the library writes a call's arguments.
constexpr std::size_t kDeepest = 512;
constexpr std::size_t kLongestShown = 100;
constexpr std::string_view kLabelNames[] = { "alertTitle", "alertBtn", "confirmTitle", "confirmCancelBtn",
    "confirmOkBtn", "promptCancelBtn", "promptOkBtn" };

bool isUtf8(std::string_view text) { return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr); }

/// The JSON value, or what is wrong with the text. @param expected what the text should have been.
std::variant<boost::json::value, UsageError> readJson(std::string_view text, std::string_view expected)
{
    boost::json::parse_options options;
    options.max_depth = kDeepest;
    boost::json::error_code failure;
    auto value = boost::json::parse(text, failure, {}, options);
    if (!failure && !holdsNonFinite(value))
        return value;
    return UsageError{ "\"" + displayText(text, kLongestShown) + "\" is no " + std::string(expected) + ": "
        + (failure ? failure.message() : "a number is too large") };
}

} // namespace

std::variant<PageCall, UsageError> readPageCall(std::string_view text)
{
    auto [name, list] = splitWord(text);
    if (!isUtf8(name))
        return UsageError{ "the name \"" + displayText(name, kLongestShown) + "\" is not valid UTF-8" };
    if (list.empty())
        return PageCall{ std::string(name), {} };
    auto parsed = readJson(list, "JSON list");
    if (auto* error = std::get_if<UsageError>(&parsed))
        return std::move(*error);
    auto* arguments = std::get<boost::json::value>(parsed).if_array();
    if (!arguments)
        return UsageError{ "\"" + displayText(list, kLongestShown) + "\" is no JSON list" };
    return PageCall{ std::string(name), std::move(*arguments) };
}

std::variant<DialogLabels, UsageError> readDialogLabels(std::string_view text)
{
    auto parsed = readJson(text, "JSON object");
    if (auto* error = std::get_if<UsageError>(&parsed))
        return std::move(*error);
    const auto* members = std::get<boost::json::value>(parsed).if_object();
    if (!members)
        return UsageError{ "\"" + displayText(text, kLongestShown) + "\" is no JSON object" };
    DialogLabels labels;
    for (const auto& member : *members) {
        std::string name(member.key());
        const auto* label = member.value().if_string();
        if (!label)
            return UsageError{ "the label \"" + displayText(name, kLongestShown) + "\" is no text" };
        if (std::ranges::find(kLabelNames, name) == std::end(kLabelNames))
            labels.unknownNames += " \"" + displayText(name, kLongestShown) + "\"";
        labels.texts.emplace(std::move(name), std::string(*label));
    }
    return labels;
}

} // namespace tqclient
