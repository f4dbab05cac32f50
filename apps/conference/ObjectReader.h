#pragma once

#include <boost/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace tq::conference {

/// Reads the members of a JSON object that must have exactly the shape that is asked of it. The first thing that is
/// wrong is thrown as a malformed request's refusal.
class ObjectReader {
public:
    /// The value of a whole text.
    static boost::json::value parse(std::string_view text);

    /// `name` stands before the member names in the fault ("user" gives "user.uid"); empty for the outermost object.
    explicit ObjectReader(const boost::json::value&, std::string_view name = {});

    /// A text of this many bytes of UTF-8, without control characters.
    std::string text(std::string_view member, std::size_t shortest, std::size_t longest);
    /// A text of exactly ten letters and digits of ASCII.
    void orderText(std::string_view member);
    std::int64_t integer(std::string_view member, std::int64_t low, std::int64_t high);
    bool boolean(std::string_view member);
    /// The member's value, whatever it is; null if it is missing.
    const boost::json::value& value(std::string_view member);

    /// The member has to be what is wanted.
    void require(bool isRight, std::string_view member, std::string_view wanted) const;
    /// A member that nobody asked for is a fault.
    void finish() const;

private:
    std::string m_name;
    const boost::json::object* m_object;
    std::vector<std::string_view> m_known;
};

} // namespace tq::conference
