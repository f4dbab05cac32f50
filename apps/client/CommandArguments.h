#pragma once

#include "Options.h"

#include <boost/json/array.hpp>
#include <map>
#include <string>
#include <string_view>

namespace tqclient {

/// A function of the room's page, and what it is called with.
struct PageCall {
    std::string name;
    boost::json::array arguments;
};

/// The texts of the page's dialogs by their names.
struct DialogLabels {
    std::map<std::string, std::string> texts;
    /// The names among them that no dialog has.
    std::string unknownNames;
};

// What follows a command on the standard input. They throw a `UsageError` of what cannot be used.

/// Reads "NAME" or "NAME JSON-LIST"; without a list the function gets no arguments.
PageCall readPageCall(std::string_view text);
/// Reads a JSON object whose members are texts.
DialogLabels readDialogLabels(std::string_view text);

} // namespace tqclient
