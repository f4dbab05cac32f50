#pragma once

#include "../Foundation/NSTypes.h"

#include <QString>
#include <string>
#include <string_view>

namespace tq {

inline QString toQt(std::string_view text) { return QString::fromUtf8(text.data(), qsizetype(text.size())); }

/// A text of the engine's, which may be none.
inline OptionalText textOrAbsent(const QString& text)
{
    return text.isNull() ? std::nullopt : OptionalText(text.toStdString());
}

} // namespace tq
