#pragma once

#include "../Foundation/NSError.h"

#include <curl/curl.h>
#include <string>

namespace tq {

/// An error of the domain "NSURLErrorDomain".
NSError transferError(NSURLErrorCode code, std::string description);

/// The same for what libcurl reports.
/// @param detail libcurl's own words for this case; may be empty.
NSError transferErrorFromCurl(CURLcode code, std::string detail);

} // namespace tq
