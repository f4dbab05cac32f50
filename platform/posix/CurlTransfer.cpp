#include "CurlTransfer.h"

#include "../Foundation/Dispatch.h"
#include "../Foundation/Releaser.h"
#include "BackgroundWork.h"
#include "CurlErrors.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <curl/curl.h>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>
#include <variant>

namespace tq {

namespace {

using Clock = std::chrono::steady_clock;
using CurlHandle = std::unique_ptr<CURL, Releaser<curl_easy_cleanup>>;
using CurlList = std::unique_ptr<curl_slist, Releaser<curl_slist_free_all>>;

constexpr int kMaxRedirections = 5;

struct Answer {
    const std::size_t maximumLength;
    std::string body{};
    bool isTooLong = false;
    // The empty line has come that ends the head; a connection that is closed before it counts for libcurl as well.
    bool isHeadWhole = false;
};

std::size_t receive(char* data, std::size_t, std::size_t size, void* target)
{
    auto& answer = *static_cast<Answer*>(target);
    BackgroundWork::stopIfEnding();
    if (answer.body.size() + size > answer.maximumLength) {
        answer.isTooLong = true;
        return 0;
    }
    std::size_t taken = 0;
    runGuarded([&] {
        answer.body.append(data, size);
        taken = size;
    });
    return taken;
}

// Told of the head, line by line, and of what may follow the body.
std::size_t receiveHead(char* data, std::size_t, std::size_t size, void* target)
{
    auto& answer = *static_cast<Answer*>(target);
    const std::string_view line(data, size);
    if (line.starts_with("HTTP/"))
        answer.isHeadWhole = false;
    else if (line == "\r\n" || line == "\n")
        answer.isHeadWhole = true;
    return size;
}

int stopWhenEnding(void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    BackgroundWork::stopIfEnding();
    return 0;
}

bool isHeaderText(std::string_view text)
{
    return std::ranges::none_of(text, [](unsigned char byte) { return (byte < ' ' && byte != '\t') || byte == 0x7F; });
}

CurlList headerList(const NSMutableURLRequest& request)
{
    // No waiting for a permission to send the body.
    CurlList list(curl_slist_append(nullptr, "Expect:"));
    for (const auto& [field, value] : request.headers) {
        // A trailing semicolon is how an empty value is sent at all.
        auto line = field;
        if (value.find_first_not_of(" \t") == std::string::npos)
            line += ";";
        else
            line += ": " + value;
        if (auto* extended = curl_slist_append(list.get(), line.c_str())) {
            static_cast<void>(list.release());
            list.reset(extended);
        }
    }
    return list;
}

void setMethod(CURL* handle, const NSMutableURLRequest& request)
{
    if (request.HTTPMethod == "POST") {
        const std::string_view body = request.HTTPBody ? std::string_view(*request.HTTPBody) : "";
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.data());
    } else if (request.HTTPMethod != "GET") {
        curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.HTTPMethod.c_str());
    }
}

void setLimits(CURL* handle, Clock::time_point deadline, std::size_t maximumLength)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(std::max<std::int64_t>(left, 1)));
    // For what the head says of its body's length, even a length that no number holds.
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(maximumLength));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, stopWhenEnding);
#if LIBCURL_VERSION_NUM >= 0x075700
    // A look-up that hangs is left to itself when the time is up.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
#endif
}

// What is wrong with where a redirection leads; null when nothing is.
const char* refusal(const NSURL& from, const std::optional<NSURL>& to)
{
    if (!to)
        return "The server redirects to an address that is none.";
    if (!to->host().empty() && to->host() != from.host())
        return "The server redirects to another host, which is refused.";
    if (to->scheme() != from.scheme())
        return "The server redirects to another scheme, which is refused.";
    return to->port() != from.port() ? "The server redirects to another port, which is refused." : nullptr;
}

// The request that a redirection asks for, or the error that it is.
std::variant<NSMutableURLRequest, NSError> redirected(
    const NSMutableURLRequest& request, NSInteger status, const std::string& location)
{
    auto next = request;
    next.URL = NSURL::URLWithString(location, *request.URL);
    if (const char* reason = refusal(*request.URL, next.URL))
        return urlError(NSURLErrorBadServerResponse, reason);
    if (status == 303 || (status < 303 && request.HTTPMethod == "POST")) {
        next.HTTPMethod = "GET";
        next.HTTPBody.reset();
    }
    return next;
}

// Where an answer leads, as it says it; empty when nowhere.
std::string locationOf(CURL* handle, long status)
{
    curl_header* header = nullptr;
    const bool isRedirection = status >= 300 && status < 400;
    if (!isRedirection || curl_easy_header(handle, "Location", 0, CURLH_HEADER, -1, &header) != CURLHE_OK)
        return {};
    return header->value;
}

std::string lengthText(std::size_t length)
{
    constexpr std::size_t kMega = std::size_t{ 1 } << 20U;
    return length % kMega ? std::to_string(length / 1024) + " KiB" : std::to_string(length / kMega) + " MiB";
}

// Certificates given by hand take the place of the system's bundle, though not of its folder. Where there is no folder,
// the bundle has to be given by hand too.
std::string systemAnchorsLostBy(CURL* handle)
{
    char* bundle = nullptr;
    char* folder = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CAINFO, &bundle);
    curl_easy_getinfo(handle, CURLINFO_CAPATH, &folder);
    if (folder || !bundle)
        return {};
    std::ostringstream content;
    content << '\n' << std::ifstream(bundle).rdbuf();
    return content.str();
}

std::optional<NSError> errorOf(CURLcode code, const Answer& answer, const char* detail)
{
    if (answer.isTooLong || code == CURLE_FILESIZE_EXCEEDED)
        return urlError(
            NSURLErrorDataLengthExceedsMaximum, "The answer is longer than " + lengthText(answer.maximumLength) + ".");
    if (code != CURLE_OK)
        return errorFromCurl(code, detail);
    if (!answer.isHeadWhole)
        return urlError(NSURLErrorNetworkConnectionLost, "The connection was closed in the middle of the answer.");
    return std::nullopt;
}

// One request and its answer.
struct Exchange {
    TransferOutcome outcome;
    // Where the answer leads; empty when nowhere.
    std::string location;
};

Exchange exchange(const NSMutableURLRequest& request, const OptionalText& extraTrustAnchors, Clock::time_point deadline)
{
    const CurlHandle handle(curl_easy_init());
    const auto headers = headerList(request);
    Answer answer{ .maximumLength = request.maximumAnswerLength };
    std::array<char, CURL_ERROR_SIZE> errorText{};
    curl_easy_setopt(handle.get(), CURLOPT_URL, request.URL->absoluteString().c_str());
    curl_easy_setopt(handle.get(), CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(handle.get(), CURLOPT_HEADERFUNCTION, receiveHead);
    curl_easy_setopt(handle.get(), CURLOPT_HEADERDATA, &answer);
    curl_easy_setopt(handle.get(), CURLOPT_ERRORBUFFER, errorText.data());
    setMethod(handle.get(), request);
    setLimits(handle.get(), deadline, request.maximumAnswerLength);
    std::string anchors;
    if (extraTrustAnchors) {
        anchors = *extraTrustAnchors + systemAnchorsLostBy(handle.get());
        curl_blob blob{ anchors.data(), anchors.size(), CURL_BLOB_NOCOPY };
        curl_easy_setopt(handle.get(), CURLOPT_CAINFO_BLOB, &blob);
    }

    const auto code = curl_easy_perform(handle.get());
    BackgroundWork::stopIfEnding();
    if (const auto error = errorOf(code, answer, errorText.data()))
        return { { .error = error }, {} };
    long status = 0;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    return { { .data = std::move(answer.body),
                 .response = NSHTTPURLResponse{ request.URL->absoluteString(), static_cast<NSInteger>(status) } },
        locationOf(handle.get(), status) };
}

TransferOutcome follow(NSMutableURLRequest request, const OptionalText& extraTrustAnchors)
{
    const auto deadline
        = Clock::now() + std::chrono::milliseconds(static_cast<std::int64_t>(request.timeoutInterval * 1000));
    for (int redirections = 0; redirections <= kMaxRedirections; ++redirections) {
        auto [outcome, location] = exchange(request, extraTrustAnchors, deadline);
        if (location.empty())
            return std::move(outcome);
        auto next = redirected(request, outcome.response->statusCode, location);
        if (auto* error = std::get_if<NSError>(&next))
            return { .error = std::move(*error) };
        request = std::get<NSMutableURLRequest>(std::move(next));
    }
    return { .error = urlError(NSURLErrorHTTPTooManyRedirects, "The server redirects too often.") };
}

} // namespace

void startTransfers()
{
    static const CURLcode s_started = [] {
        const auto code = curl_global_init(CURL_GLOBAL_DEFAULT);
        BackgroundWork::waitBeforeExit();
        return code;
    }();
    static_cast<void>(s_started);
}

TransferOutcome performTransfer(const NSMutableURLRequest& request, const OptionalText& extraTrustAnchors)
{
    if (!request.URL || request.URL->host().empty())
        return { .error = urlError(NSURLErrorUnsupportedURL, "unsupported URL") };
    // What stands in an address after this sign is never sent: the request would be another one than was asked for.
    if (request.URL->absoluteString().find('#') != std::string::npos)
        return { .error = urlError(NSURLErrorUnsupportedURL, "The address has a fragment, which cannot be sent.") };
    if (!std::ranges::all_of(request.headers, [](const auto& header) { return isHeaderText(header.second); }))
        return { .error = urlError(NSURLErrorUnknown, "A header value holds a line break or a control character.") };
    return follow(request, extraTrustAnchors);
}

} // namespace tq
