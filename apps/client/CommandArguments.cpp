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

/// @param expected what the text should be.
boost::json::value readJson(std::string_view text, const std::string& expected)
{
    boost::json::parse_options options;
    options.max_depth = kDeepest;
    boost::json::error_code failure;
    auto value = boost::json::parse(text, failure, {}, options);
    if (failure || holdsNonFinite(value))
        throw UsageError{ "\"" + displayText(text, kLongestShown) + "\" is no " + expected + ": "
            + (failure ? failure.message() : "a number is too large") };
    return value;
}

} // namespace

PageCall readPageCall(std::string_view text)
{
    auto [name, list] = splitWord(text);
    if (!isUtf8(name))
        throw UsageError{ "the name \"" + displayText(name, kLongestShown) + "\" is not valid UTF-8" };
    if (list.empty())
        return { std::string(name), {} };
    auto parsed = readJson(list, "JSON list");
    if (!parsed.is_array())
        throw UsageError{ "\"" + displayText(list, kLongestShown) + "\" is no JSON list" };
    return { std::string(name), std::move(parsed.get_array()) };
}

DialogLabels readDialogLabels(std::string_view text)
{
    const auto parsed = readJson(text, "JSON object");
    if (!parsed.is_object())
        throw UsageError{ "\"" + displayText(text, kLongestShown) + "\" is no JSON object" };
    DialogLabels labels;
    for (const auto& member : parsed.get_object()) {
        std::string name(member.key());
        const auto* label = member.value().if_string();
        if (!label)
            throw UsageError{ "the label \"" + displayText(name, kLongestShown) + "\" is no text" };
        if (std::ranges::find(kLabelNames, name) == std::end(kLabelNames))
            labels.unknownNames += " \"" + displayText(name, kLongestShown) + "\"";
        labels.texts.emplace(std::move(name), std::string(*label));
    }
    return labels;
}

} // namespace tqclient
