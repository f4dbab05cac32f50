#include "NavigationErrors.h"

#include <webkit/webkit.h>

namespace tq {

namespace {

NSURLErrorCode codeOfConnection(int code)
{
    switch (code) {
    case G_IO_ERROR_TIMED_OUT:
        return NSURLErrorTimedOut;
    case G_IO_ERROR_HOST_NOT_FOUND:
        return NSURLErrorCannotFindHost;
    case G_IO_ERROR_CONNECTION_REFUSED:
    case G_IO_ERROR_HOST_UNREACHABLE:
    case G_IO_ERROR_NETWORK_UNREACHABLE:
        return NSURLErrorCannotConnectToHost;
    case G_IO_ERROR_CONNECTION_CLOSED:
    case G_IO_ERROR_PARTIAL_INPUT:
    case G_IO_ERROR_CANCELLED:
        return NSURLErrorNetworkConnectionLost;
    case G_IO_ERROR_NOT_FOUND:
        return NSURLErrorFileDoesNotExist;
    default:
        return NSURLErrorUnknown;
    }
}

NSURLErrorCode codeOfTls(int code)
{
    switch (code) {
    case G_TLS_ERROR_BAD_CERTIFICATE:
        return NSURLErrorServerCertificateUntrusted;
    case G_TLS_ERROR_EOF:
        return NSURLErrorNetworkConnectionLost;
    default:
        return NSURLErrorSecureConnectionFailed;
    }
}

NSURLErrorCode codeOf(const GError& error)
{
    if (error.domain == G_IO_ERROR)
        return codeOfConnection(error.code);
    if (error.domain == G_TLS_ERROR)
        return codeOfTls(error.code);
    if (error.domain == G_RESOLVER_ERROR)
        return NSURLErrorCannotFindHost;
    if (g_error_matches(&error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED))
        return NSURLErrorCancelled;
    if (g_error_matches(&error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_UNKNOWN_PROTOCOL)
        || g_error_matches(&error, WEBKIT_POLICY_ERROR, WEBKIT_POLICY_ERROR_CANNOT_SHOW_URI)
        || g_error_matches(&error, WEBKIT_POLICY_ERROR, WEBKIT_POLICY_ERROR_CANNOT_USE_RESTRICTED_PORT))
        return NSURLErrorUnsupportedURL;
    // What else the engine refuses is an answer that it cannot show.
    return error.domain == WEBKIT_POLICY_ERROR ? NSURLErrorBadServerResponse : NSURLErrorUnknown;
}

} // namespace

NSError navigationError(const GError& error) { return urlError(codeOf(error), error.message); }

bool isExplainedByEngine(const GError& error)
{
    return !g_error_matches(&error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED)
        && !g_error_matches(&error, WEBKIT_POLICY_ERROR, WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE);
}

} // namespace tq
