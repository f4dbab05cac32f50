#include "ObjectReader.h"

#include "Refusal.h"
#include "platform/Foundation/JSONWriter.h"

#include <algorithm>

namespace tq::conference {

namespace {

bool isControl(char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f; }

bool isLetterOrDigit(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
}

} // namespace

boost::json::value ObjectReader::parse(std::string_view text)
{
    boost::json::error_code error;
    auto value = boost::json::parse({ text.data(), text.size() }, error);
    Refusal::require(!error, "what was sent is not JSON: " + error.message());
    return value;
}

ObjectReader::ObjectReader(const boost::json::value& value, std::string_view name)
    : m_name(name)
    , m_object(value.if_object())
{
    Refusal::require(m_object, (m_name.empty() ? "what was sent" : m_name) + " must be a JSON object");
}

const boost::json::value& ObjectReader::value(std::string_view member)
{
    static const boost::json::value s_null;
    m_known.push_back(member);
    const auto* const found = m_object->if_contains(member);
    return found ? *found : s_null;
}

std::string ObjectReader::text(std::string_view member, std::size_t shortest, std::size_t longest)
{
    const auto* const text = value(member).if_string();
    require(text && text->size() >= shortest && text->size() <= longest && std::ranges::none_of(*text, isControl),
        member,
        "a text of " + std::to_string(shortest) + " to " + std::to_string(longest)
            + " bytes without control characters");
    return std::string(*text);
}

void ObjectReader::orderText(std::string_view member)
{
    const auto* const text = value(member).if_string();
    require(text && text->size() == 10 && std::ranges::all_of(*text, isLetterOrDigit), member,
        "10 characters of a-z, A-Z and 0-9");
}

std::int64_t ObjectReader::integer(std::string_view member, std::int64_t low, std::int64_t high)
{
    const auto* const number = value(member).if_int64();
    require(number && *number >= low && *number <= high, member,
        "an integer from " + std::to_string(low) + " to " + std::to_string(high));
    return *number;
}

bool ObjectReader::boolean(std::string_view member)
{
    const auto* const flag = value(member).if_bool();
    require(flag, member, "true or false");
    return *flag;
}

void ObjectReader::require(bool isRight, std::string_view member, std::string_view wanted) const
{
    if (!isRight)
        Refusal::require(false, (m_name.empty() ? "" : m_name + ".").append(member).append(" must be ").append(wanted));
}

void ObjectReader::finish() const
{
    for (const auto& member : *m_object)
        Refusal::require(std::ranges::find(m_known, std::string_view(member.key())) != m_known.end(),
            "unexpected member " + tq::writtenJSON(boost::json::value(member.key()))
                + (m_name.empty() ? "" : " in " + m_name));
}

} // namespace tq::conference
