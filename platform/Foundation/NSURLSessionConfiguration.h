#pragma once

#include "Export.h"
#include "NSTypes.h"

namespace tq {

/// What a session is owned by; it has no duties.
class TQWB_EXPORT NSURLSessionDelegate {
public:
    virtual ~NSURLSessionDelegate() = default;
};

/// What the tasks of a session report to; it has no duties either.
class TQWB_EXPORT NSURLSessionTaskDelegate : public NSURLSessionDelegate { };

/// What sessions have in common.
class TQWB_EXPORT NSURLSessionConfiguration {
public:
    /// The configuration that every session of the library uses.
    static NSURLSessionConfiguration& defaultSessionConfiguration();

    /// Certificates (PEM, one or more) that are trusted beside the system's own, for every transfer that starts
    /// afterwards and for every page. Absent: the system's alone. Any thread.
    /// @returns false, with nothing changed, when the text holds no usable certificate.
    bool setExtraTrustAnchors(OptionalText pem);
    /// The certificates as they were given; absent when there are none. Any thread.
    OptionalText extraTrustAnchors() const;
    /// Whether there are any. Any thread.
    bool hasExtraTrustAnchors() const { return extraTrustAnchors().has_value(); }

private:
    NSURLSessionConfiguration() = default;
};

} // namespace tq
