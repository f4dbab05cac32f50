#include "../Foundation/NSLog.h"

#include <clocale>
#include <glib.h>

namespace tq {

namespace {

// While one exists, the thread's characters are UTF-8: GLib writes a terminal's log in the characters of the locale,
// and a program that has not set one, or runs without, would lose all letters but English ones.
class LogCharacters {
public:
    LogCharacters()
    {
        if (!g_get_charset(nullptr) && utf8())
            m_before = uselocale(utf8());
    }
    ~LogCharacters()
    {
        if (m_before)
            uselocale(m_before);
    }
    LogCharacters(const LogCharacters&) = delete;
    LogCharacters& operator=(const LogCharacters&) = delete;

private:
    // Never freed: lines may be written until the process ends. None on a system without it.
    static locale_t utf8()
    {
        static const auto s_utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return s_utf8;
    }

    locale_t m_before = nullptr;
};

} // namespace

void writeLogLine(const std::string& line)
{
    const LogCharacters characters;
    g_log_structured("TQWhiteBoardLib", G_LOG_LEVEL_MESSAGE, "MESSAGE", "%s", line.c_str());
}

} // namespace tq
