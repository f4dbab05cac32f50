#pragma once

#include <string_view>

namespace tq {

/// Whether a script may call what a page names as its function: identifiers of ASCII letters, digits, "_" and "$",
/// joined by dots. Neither what no function can be named, nor what is none of the page's own: a path that begins at a
/// function or an object of the engine's own window ("eval", "window.setTimeout", "self.top.eval"), or that has a
/// member by which a text could be run or loaded ("list.constructor", "frame.contentWindow"). The call must not become
/// the act of whoever has sent the name.
bool isCallable(std::string_view callbackName);

} // namespace tq
