#include "Profiles.h"

#include "PageQuestion.h"

#include <QCoreApplication>
#include <QPointer>
#include <QWebEngineProfile>
#include <utility>
#include <vector>

namespace tq {

QWebEngineProfile& profileOf(const ProfileKind& kind)
{
    static auto& s_profiles = *new std::vector<std::pair<ProfileKind, QPointer<QWebEngineProfile>>>;
    std::erase_if(s_profiles, [](const auto& entry) { return !entry.second; });
    for (const auto& [known, profile] : s_profiles) {
        if (known == kind)
            return *profile;
    }
    auto* profile = new QWebEngineProfile(QCoreApplication::instance());
    if (!kind.userAgent.isEmpty())
        profile->setHttpUserAgent(kind.userAgent);
    PageQuestion::addTo(*profile);
    s_profiles.emplace_back(kind, profile);
    return *profile;
}

} // namespace tq
