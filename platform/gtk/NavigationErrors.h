#pragma once

#include "../Foundation/NSError.h"

#include <glib.h>
#include <string>

namespace tq {

/// An error of the domain "NSURLErrorDomain".
NSError navigationError(NSURLErrorCode code, std::string description);

/// The same for what the engine reports of a load, in its words.
NSError navigationError(const GError& error);

/// Whether the engine shows a page of its own about the error, where nobody stops it.
bool isExplainedByEngine(const GError& error);

} // namespace tq
