#pragma once

#include "platform/Foundation/Export.h"

#include <functional>
#include <string_view>

namespace tq {

/// How much a line of the log matters, the most first.
enum class TQWBLogLevel {
    /// Something that was asked for has failed.
    Error,
    /// Something was refused or left out, and the rest goes on.
    Warning,
    /// What happens.
    Info,
    /// What only whoever looks for a fault wants to know.
    Debug,
};

/// Takes one line of the log: UTF-8 without a line break at its end. What pages and servers have sent is cut, and has
/// no line breaks or controls. The text is there for the call only.
using TQWBLogHandler = std::function<void(TQWBLogLevel level, std::string_view line)>;

/// Sends the library's lines to a handler instead of to the system log, in the place of an earlier handler. Any thread,
/// at any time.
///
/// The handler is called on the thread that writes the line, and by several at once. What it throws goes no further. A
/// line that is written while it runs, on its own thread, goes to the system log, and so does the line of a call that
/// has thrown.
///
/// When this returns, no earlier handler runs any more or will, so that what it uses may go; the earlier one must not
/// wait for something that the caller keeps from it, a lock for example. A handler may call this itself: then it does
/// not wait, and the promise holds from the next call outside of handlers on.
/// @param handler empty: all lines go to the system log again, as at first.
/// @param mostDetailed what is more detailed than this is not written anywhere while there is a handler.
TQWB_EXPORT void setLogHandler(TQWBLogHandler handler, TQWBLogLevel mostDetailed = TQWBLogLevel::Info);

} // namespace tq
