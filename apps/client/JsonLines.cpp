#include "JsonLines.h"

#include "Text.h"
#include "platform/Foundation/JSONWriter.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

namespace tqclient {

JsonLines::JsonLines()
{
    m_descriptor = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    if (m_descriptor >= 0)
        dup2(STDERR_FILENO, STDOUT_FILENO);
}

JsonLines::~JsonLines()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

boost::json::value JsonLines::textOrNull(const tq::OptionalText& text)
{
    return text ? boost::json::value(validUtf8(*text)) : boost::json::value();
}

void JsonLines::event(std::string_view name, boost::json::object fields)
{
    boost::json::object line{ { "event", name } };
    for (auto& field : fields)
        line.emplace(field.key(), std::move(field.value()));
    writeLine(tq::writtenJSON(line) + '\n');
}

void JsonLines::room(tq::TQWBRoomState state, const tq::TQWBError* reason)
{
    boost::json::object fields{ { "state", nameOf(state) } };
    if (reason) {
        fields["category"] = nameOf(reason->category);
        fields["code"] = std::uint64_t{ reason->code };
        fields["text"] = validUtf8(reason->text);
    }
    event("room", std::move(fields));
}

void JsonLines::writeLine(const std::string& line)
{
    std::scoped_lock lock(m_mutex);
    std::size_t written = 0;
    while (m_descriptor >= 0 && written < line.size()) {
        auto count = write(m_descriptor, line.data() + written, line.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            g_warning("standard output is lost: %s", std::strerror(errno));
            close(m_descriptor);
            m_descriptor = -1;
        }
    }
}

} // namespace tqclient
