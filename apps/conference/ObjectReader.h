#pragma once

#include <boost/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tq::conference {

/// Reads the members of a JSON object that must have exactly the shape that is asked of it.
///
/// Each reading yields a default value when the member is not right; the first thing that was wrong is kept as the
/// fault, so a caller reads all that it needs and asks once.
class ObjectReader {
public:
    /// `name` stands before the member names in the fault ("user" gives "user.uid"); empty for the outermost object.
    ObjectReader(const boost::json::value&, std::string_view name);

    /// A text of this many bytes of UTF-8, without control characters.
    std::string text(std::string_view member, std::size_t shortest, std::size_t longest);
    /// A text of exactly ten letters and digits of ASCII.
    std::string orderText(std::string_view member);
    std::int64_t integer(std::string_view member, std::int64_t low, std::int64_t high);
    bool boolean(std::string_view member);
    /// The member's value, whatever it is; null if it is missing.
    const boost::json::value& value(std::string_view member);

    void fail(std::string_view member, std::string_view wanted);
    void adopt(const std::optional<std::string>& fault);

    /// The first fault; a member that nobody asked for is one.
    std::optional<std::string> finish();

private:
    const boost::json::object* m_object;
    std::string m_name;
    std::vector<std::string_view> m_known;
    std::optional<std::string> m_fault;
};

} // namespace tq::conference
