#pragma once

#include "../Foundation/NSError.h"

#include <QWebEngineLoadingInfo>

namespace tq {

/// What the engine reports of a load that has failed, as an error of the domain "NSURLErrorDomain".
NSError navigationError(const QWebEngineLoadingInfo& info);

} // namespace tq
