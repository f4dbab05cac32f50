#pragma once

#include <QString>

class QWebEngineProfile;

namespace tq {

/// What the pages of a view share with those of others; the engine has one user agent and one policy for each.
struct ProfileKind {
    /// Empty: the engine's own.
    QString userAgent{};
    /// Servers may have any certificate.
    bool acceptsEveryCertificate = false;

    bool operator==(const ProfileKind&) const = default;
};

/// The profile of that kind, which keeps everything in memory and lives as long as the application object.
QWebEngineProfile& profileOf(const ProfileKind& kind);

} // namespace tq
