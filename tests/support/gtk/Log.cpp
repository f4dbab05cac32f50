#include "tests/support/Log.h"

#include <glib.h>
#include <gtest/gtest.h>

namespace tq::test {

namespace {

std::string field(const GLogField* fields, gsize count, std::string_view key)
{
    for (const auto& candidate : std::basic_string_view(fields, count)) {
        if (candidate.key != key)
            continue;
        const auto* text = static_cast<const char*>(candidate.value);
        return candidate.length < 0 ? std::string(text) : std::string(text, static_cast<std::size_t>(candidate.length));
    }
    return {};
}

GLogWriterOutput write(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer)
{
    const auto message = field(fields, count, "MESSAGE");
    if (field(fields, count, "GLIB_DOMAIN") == "TQWhiteBoardLib")
        addLogLine(message);
    else if (level & G_LOG_LEVEL_CRITICAL)
        ADD_FAILURE() << "the toolkit complains: " << message;
    return g_log_writer_default(level, fields, count, nullptr);
}

} // namespace

void captureLog() { g_log_set_writer_func(write, nullptr, nullptr); }

} // namespace tq::test
