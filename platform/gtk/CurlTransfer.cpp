#include "CurlTransfer.h"

#include "../Foundation/Dispatch.h"
#include "CurlErrors.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <curl/curl.h>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string_view>
#include <variant>

namespace tq {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxBody = 16U << 20U;
constexpr int kMaxRedirections = 5;

struct CurlRelease {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
    void operator()(char* text) const { curl_free(text); }
};
using CurlHandle = std::unique_ptr<CURL, CurlRelease>;
using CurlList = std::unique_ptr<curl_slist, CurlRelease>;
using CurlUrl = std::unique_ptr<CURLU, CurlRelease>;
using CurlText = std::unique_ptr<char, CurlRelease>;

// Counts the transfers under way. When the process ends, it stops them and waits for them a little, so that none of
// them meets libraries that have been taken down already.
class TransfersUnderWay {
public:
    static TransfersUnderWay& shared()
    {
        // The library below registers its own clean-up when it starts, and must be cleaned up after us.
        static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
        static_cast<void>(started);
        static TransfersUnderWay transfers;
        return transfers;
    }
    ~TransfersUnderWay()
    {
        m_isEnding = true;
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(2), [this] { return !m_count; });
    }
    TransfersUnderWay(const TransfersUnderWay&) = delete;
    TransfersUnderWay& operator=(const TransfersUnderWay&) = delete;

    bool isEnding() const { return m_isEnding; }

    /// Counts while it exists.
    class Entry {
    public:
        Entry() { shared().add(1); }
        ~Entry() { shared().add(-1); }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
    };

private:
    TransfersUnderWay() = default;
    void add(int change)
    {
        const std::lock_guard lock(m_mutex);
        m_count += change;
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
    std::atomic<bool> m_isEnding = false;
};

struct Answer {
    std::string body;
    bool isTooLong = false;
    // The empty line has come that ends the head; a connection that is closed before it counts for libcurl as well.
    bool isHeadWhole = false;
};

std::size_t receive(char* data, std::size_t, std::size_t size, void* target)
{
    auto& answer = *static_cast<Answer*>(target);
    if (answer.body.size() + size > kMaxBody) {
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
    return TransfersUnderWay::shared().isEnding() ? 1 : 0;
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
        static const std::string s_nothing;
        const auto& body = request.HTTPBody ? *request.HTTPBody : s_nothing;
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.data());
    } else if (request.HTTPMethod != "GET") {
        curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.HTTPMethod.c_str());
    }
}

void setLimits(CURL* handle, Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(std::max<std::int64_t>(left, 1)));
    // For what the head says of its body's length, even a length that no number holds.
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(kMaxBody));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, stopWhenEnding);
#if LIBCURL_VERSION_NUM >= 0x075700
    // A look-up that hangs is left to itself when the time is up.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
#endif
}

std::string partOf(CURLU* url, CURLUPart part)
{
    char* text = nullptr;
    curl_url_get(url, part, &text, CURLU_DEFAULT_PORT);
    const CurlText owned(text);
    return text ? text : "";
}

bool haveSameOrigin(const char* first, const char* second)
{
    const CurlUrl one(curl_url());
    const CurlUrl other(curl_url());
    if (curl_url_set(one.get(), CURLUPART_URL, first, 0) || curl_url_set(other.get(), CURLUPART_URL, second, 0))
        return false;
    return std::ranges::all_of(std::array{ CURLUPART_SCHEME, CURLUPART_HOST, CURLUPART_PORT },
        [&](CURLUPart part) { return partOf(one.get(), part) == partOf(other.get(), part); });
}

// The request that a redirection asks for, or the error that it is.
std::variant<NSMutableURLRequest, NSError> redirected(
    const NSMutableURLRequest& request, long status, const char* target)
{
    if (!haveSameOrigin(request.URL->absoluteString().c_str(), target))
        return transferError(NSURLErrorBadServerResponse, "The server redirects to another host, which is refused.");
    auto next = request;
    next.URL = NSURL::URLWithString(target);
    if (!next.URL)
        return transferError(NSURLErrorBadServerResponse, "The server redirects to an address that is none.");
    if (status == 303 || (status < 303 && request.HTTPMethod == "POST")) {
        next.HTTPMethod = "GET";
        next.HTTPBody.reset();
    }
    return next;
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

// One request and its answer.
struct Exchange {
    TransferOutcome outcome;
    // Where the answer leads; empty when nowhere.
    std::string redirection;
};

Exchange exchange(const NSMutableURLRequest& request, const OptionalText& extraTrustAnchors, Clock::time_point deadline)
{
    const CurlHandle handle(curl_easy_init());
    const auto headers = headerList(request);
    Answer answer;
    std::array<char, CURL_ERROR_SIZE> errorText{};
    curl_easy_setopt(handle.get(), CURLOPT_URL, request.URL->absoluteString().c_str());
    curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(handle.get(), CURLOPT_HEADERFUNCTION, receiveHead);
    curl_easy_setopt(handle.get(), CURLOPT_HEADERDATA, &answer);
    curl_easy_setopt(handle.get(), CURLOPT_ERRORBUFFER, errorText.data());
    setMethod(handle.get(), request);
    setLimits(handle.get(), deadline);
    std::string anchors;
    if (extraTrustAnchors) {
        anchors = *extraTrustAnchors + systemAnchorsLostBy(handle.get());
        curl_blob blob{ anchors.data(), anchors.size(), CURL_BLOB_NOCOPY };
        curl_easy_setopt(handle.get(), CURLOPT_CAINFO_BLOB, &blob);
    }

    const auto code = curl_easy_perform(handle.get());
    Exchange result;
    long status = 0;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status)
        result.outcome.response = NSHTTPURLResponse{ request.URL->absoluteString(), static_cast<NSInteger>(status) };
    if (code == CURLE_ABORTED_BY_CALLBACK)
        result.outcome.isAbandoned = true;
    if (answer.isTooLong || code == CURLE_FILESIZE_EXCEEDED) {
        result.outcome.error = transferError(NSURLErrorDataLengthExceedsMaximum, "The answer is longer than 16 MiB.");
    } else if (code != CURLE_OK) {
        result.outcome.error = transferErrorFromCurl(code, errorText.data());
    } else if (!answer.isHeadWhole) {
        result.outcome.error
            = transferError(NSURLErrorNetworkConnectionLost, "The connection was closed in the middle of the answer.");
    } else {
        result.outcome.data = std::move(answer.body);
        char* target = nullptr;
        curl_easy_getinfo(handle.get(), CURLINFO_REDIRECT_URL, &target);
        if (target)
            result.redirection = target;
    }
    return result;
}

TransferOutcome follow(NSMutableURLRequest request, const OptionalText& extraTrustAnchors)
{
    const auto deadline
        = Clock::now() + std::chrono::milliseconds(static_cast<std::int64_t>(request.timeoutInterval * 1000));
    for (int redirections = 0; redirections <= kMaxRedirections; ++redirections) {
        auto [outcome, target] = exchange(request, extraTrustAnchors, deadline);
        if (target.empty())
            return std::move(outcome);
        auto next = redirected(request, static_cast<long>(outcome.response->statusCode), target.c_str());
        if (auto* error = std::get_if<NSError>(&next)) {
            outcome.data.reset();
            outcome.error = std::move(*error);
            return std::move(outcome);
        }
        request = std::get<NSMutableURLRequest>(std::move(next));
    }
    return { .error = transferError(NSURLErrorHTTPTooManyRedirects, "The server redirects too often.") };
}

} // namespace

TransferOutcome performTransfer(const NSMutableURLRequest& request, const OptionalText& extraTrustAnchors)
{
    if (!request.URL)
        return { .error = transferError(NSURLErrorUnsupportedURL, "unsupported URL") };
    if (!std::ranges::all_of(request.headers, [](const auto& header) { return isHeaderText(header.second); }))
        return { .error
            = transferError(NSURLErrorUnknown, "A header value holds a line break or a control character.") };
    const TransfersUnderWay::Entry entry;
    return follow(request, extraTrustAnchors);
}

} // namespace tq
