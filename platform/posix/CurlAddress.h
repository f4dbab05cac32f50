#pragma once

#include <curl/curl.h>
#include <memory>
#include <optional>
#include <string>

namespace tq {

struct CurlRelease {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    void operator()(CURLU* address) const { curl_url_cleanup(address); }
    void operator()(char* text) const { curl_free(text); }
};
using CurlHandle = std::unique_ptr<CURL, CurlRelease>;
using CurlList = std::unique_ptr<curl_slist, CurlRelease>;
using CurlAddress = std::unique_ptr<CURLU, CurlRelease>;
using CurlText = std::unique_ptr<char, CurlRelease>;

/// Reads an address that names a host, as transfers do: nothing is guessed, and the path stays as it is written.
/// @returns null for any other text.
CurlAddress readCurlAddress(const std::string& text);

/// Where an address leads, in small letters.
struct Origin {
    std::string scheme;
    /// With brackets and zone where it has them.
    std::string host;
    /// Empty for the one that the scheme has anyway.
    std::string port;
};

/// Absent for a text that `readCurlAddress` does not read.
std::optional<Origin> originOf(const std::string& text);

/// What a reference means, which may be relative to the base; empty when it means nothing.
std::string resolveCurlAddress(const std::string& base, const std::string& reference);

} // namespace tq
