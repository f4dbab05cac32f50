#pragma once

#include "TQWhiteBoardLib/TQWBLog.h"

#include <string_view>

namespace tq {

/// Hands a line to the application's handler.
/// @returns false when there is none, or it has failed, or the line is its own: the system log is to have it.
bool giveToLogHandler(TQWBLogLevel level, std::string_view line);

} // namespace tq
