#pragma once

#include "../Foundation/NSError.h"

#include <glib.h>

namespace tq {

/// What the engine reports of a load, in its words, as an error of the domain "NSURLErrorDomain".
NSError navigationError(const GError& error);

/// Whether the engine shows a page of its own about the error, where nobody stops it.
bool isExplainedByEngine(const GError& error);

} // namespace tq
