#pragma once

#include "NSTypes.h"

#include <string>
#include <utility>

namespace tq {

/// A failure of the system below the library.
struct NSError {
    /// Who counts the codes: "NSURLErrorDomain" for everything that goes wrong with a transfer.
    std::string domain;
    /// Names the failure within its domain.
    NSInteger code = 0;
    /// One sentence for a person.
    std::string localizedDescription;
};

/// Codes of "NSURLErrorDomain".
enum NSURLErrorCode : NSInteger {
    NSURLErrorUnknown = -1,
    NSURLErrorCancelled = -999,
    NSURLErrorTimedOut = -1001,
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorCannotFindHost = -1003,
    NSURLErrorCannotConnectToHost = -1004,
    NSURLErrorNetworkConnectionLost = -1005,
    NSURLErrorHTTPTooManyRedirects = -1007,
    NSURLErrorBadServerResponse = -1011,
    NSURLErrorFileDoesNotExist = -1100,
    NSURLErrorDataLengthExceedsMaximum = -1103,
    NSURLErrorSecureConnectionFailed = -1200,
    NSURLErrorServerCertificateUntrusted = -1202,
};

/// An error of the domain "NSURLErrorDomain".
inline NSError urlError(NSURLErrorCode code, std::string description)
{
    return { .domain = "NSURLErrorDomain", .code = code, .localizedDescription = std::move(description) };
}

} // namespace tq
