#include "CurlErrors.h"

namespace tq {

namespace {

NSURLErrorCode errorCode(CURLcode code)
{
    switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
        return NSURLErrorTimedOut;
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
        return NSURLErrorUnsupportedURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return NSURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT:
        return NSURLErrorCannotConnectToHost;
    case CURLE_SSL_CONNECT_ERROR:
        return NSURLErrorSecureConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
        return NSURLErrorServerCertificateUntrusted;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
        return NSURLErrorNetworkConnectionLost;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
        return NSURLErrorBadServerResponse;
    default:
        return NSURLErrorUnknown;
    }
}

} // namespace

NSError errorFromCurl(CURLcode code, std::string detail)
{
    if (detail.empty())
        detail = curl_easy_strerror(code);
    return urlError(errorCode(code), std::move(detail));
}

} // namespace tq
