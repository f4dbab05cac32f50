#pragma once

#include "Operation.h"
#include "TQWhiteBoardLib/TQWBError.h"

#include <string>

namespace tqclient {

// What a person is told of a failure, in the user's language.

/// Of an operation that has failed.
std::string failureTitle(Operation operation);
/// Of a room that was there, or was about to be shown.
std::string endTitle(const tq::TQWBError& error);
/// What has gone wrong, and what one can do.
std::string failureAdvice(const tq::TQWBError& error);

} // namespace tqclient
