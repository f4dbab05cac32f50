#include "ObjectReader.h"

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

ObjectReader::ObjectReader(const boost::json::value& value, std::string_view name)
    : m_object(value.if_object())
    , m_name(name)
{
    if (!m_object)
        m_fault = (name.empty() ? std::string("the body") : std::string(name)) + " must be a JSON object";
}

const boost::json::value& ObjectReader::value(std::string_view member)
{
    static const boost::json::value s_null;
    m_known.push_back(member);
    const auto* const found = m_object ? m_object->if_contains(member) : nullptr;
    return found ? *found : s_null;
}

std::string ObjectReader::text(std::string_view member, std::size_t shortest, std::size_t longest)
{
    const auto* const text = value(member).if_string();
    if (text && text->size() >= shortest && text->size() <= longest && std::ranges::none_of(*text, isControl))
        return std::string(*text);
    fail(member,
        "a text of " + std::to_string(shortest) + " to " + std::to_string(longest)
            + " bytes without control characters");
    return {};
}

std::string ObjectReader::orderText(std::string_view member)
{
    const auto* const text = value(member).if_string();
    if (text && text->size() == 10 && std::ranges::all_of(*text, isLetterOrDigit))
        return std::string(*text);
    fail(member, "10 characters of a-z, A-Z and 0-9");
    return {};
}

std::int64_t ObjectReader::integer(std::string_view member, std::int64_t low, std::int64_t high)
{
    const auto* const number = value(member).if_int64();
    if (number && *number >= low && *number <= high)
        return *number;
    fail(member, "an integer from " + std::to_string(low) + " to " + std::to_string(high));
    return low;
}

bool ObjectReader::boolean(std::string_view member)
{
    const auto* const flag = value(member).if_bool();
    if (!flag)
        fail(member, "true or false");
    return flag && *flag;
}

void ObjectReader::fail(std::string_view member, std::string_view wanted)
{
    if (!m_fault)
        m_fault = (m_name.empty() ? "" : m_name + ".").append(member).append(" must be ").append(wanted);
}

void ObjectReader::adopt(const std::optional<std::string>& fault)
{
    if (!m_fault)
        m_fault = fault;
}

std::optional<std::string> ObjectReader::finish()
{
    if (m_fault)
        return m_fault;
    for (const auto& member : *m_object) {
        const std::string_view name = member.key();
        if (std::ranges::find(m_known, name) == m_known.end())
            return "unexpected member " + tq::writtenJSON(boost::json::value(member.key()))
                + (m_name.empty() ? "" : " in " + m_name);
    }
    return std::nullopt;
}

} // namespace tq::conference
