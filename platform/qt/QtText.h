#pragma once

#include "../Foundation/NSTypes.h"

#include <QString>
#include <memory>
#include <string>
#include <string_view>

namespace tq {

inline QString toQt(std::string_view text) { return QString::fromUtf8(text.data(), qsizetype(text.size())); }

/// A text of the engine's, which may be none.
inline OptionalText textOrAbsent(const QString& text)
{
    return text.isNull() ? std::nullopt : OptionalText(text.toStdString());
}

/// A text of the engine's for as long as this lives. Up to 8 MiB of memory stay for the next one. Main thread.
class QtText {
public:
    explicit QtText(const QString& text);
    ~QtText();
    QtText(const QtText&) = delete;
    QtText& operator=(const QtText&) = delete;

    std::string_view view() const { return { m_bytes.get(), m_size }; }

private:
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_capacity;
    std::size_t m_size;
};

/// A text for the engine, which is read before the next one is made. Up to 16 MiB of memory stay for
/// the next one. Main thread.
QString answerOf(std::string_view before, std::string_view text);

} // namespace tq
