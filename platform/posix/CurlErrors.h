#pragma once

#include "../Foundation/NSError.h"

#include <curl/curl.h>
#include <string>

namespace tq {

/// What libcurl reports, as an error of the domain "NSURLErrorDomain".
/// @param detail libcurl's own words for this case; may be empty.
NSError errorFromCurl(CURLcode code, std::string detail);

} // namespace tq
