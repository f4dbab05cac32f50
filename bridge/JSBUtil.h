#pragma once

#include "platform/Foundation/NSClass.h"
#include "platform/Foundation/NSTypes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tq {

/// The bridge's reading and writing of JSON, and its rules for finding methods by name. No state; any thread.
class JSBUtil {
public:
    /// Compact JSON; "{}" for everything that JSON cannot hold at its top: no map or list, a number that is not finite,
    /// a text that is not UTF-8.
    static std::string objToJsonString(const boost::json::value& object);

    /// The map or list of a JSON text. Absent for an absent text and, with a log line, for a text that is neither.
    static OptionalValue jsonStringToObject(std::optional<std::string_view> text);

    /// Moves the "data" member out of a message, since it may be large; absent when it is missing or null.
    static OptionalValue takeData(OptionalValue& message);

    /// The full names of all methods of a class, the most derived class first, the root's left out.
    static std::vector<std::string> allMethodFromClass(const NSClass* objectClass);

    /// The first method of `allMethodFromClass` with that name before its first colon and so many colons; absent when
    /// there is none.
    static OptionalText methodByNameArg(
        std::int64_t argumentCount, std::string_view selName, const NSClass* objectClass);

    /// Splits at the last dot into namespace and method; without a dot the namespace is empty.
    static std::pair<std::string_view, std::string_view> parseNamespace(std::string_view method);

    /// The text without the spaces and tabs around it (line breaks stay).
    static std::string_view trimmed(std::string_view text);
};

} // namespace tq
