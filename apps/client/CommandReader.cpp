#include "CommandReader.h"

#include <gio/gunixinputstream.h>
#include <unistd.h>

namespace tqclient {

CommandReader::CommandReader(Handler handler)
    : m_handler(std::move(handler))
{
    UniqueObject<GInputStream> input(g_unix_input_stream_new(STDIN_FILENO, FALSE));
    m_stream.reset(g_data_input_stream_new(input.get()));
    read();
}

CommandReader::~CommandReader() { g_cancellable_cancel(m_cancellable.get()); }

void CommandReader::read()
{
    auto done = [](GObject* stream, GAsyncResult* result, gpointer self) {
        gsize size = 0;
        GError* failure = nullptr;
        UniqueChars line(g_data_input_stream_read_line_finish(G_DATA_INPUT_STREAM(stream), result, &size, &failure));
        // Of a reader that is gone comes an error. Without a line it is the end of the input, or there is none: the
        // program goes on with its window.
        if (!UniqueError(failure) && line)
            static_cast<CommandReader*>(self)->received(line.get(), size);
    };
    g_data_input_stream_read_line_async(m_stream.get(), G_PRIORITY_DEFAULT, m_cancellable.get(), done, this);
}

void CommandReader::received(const char* line, gsize size)
{
    constexpr gsize kLongestLine = gsize{ 16 } << 20;
    if (size > kLongestLine)
        g_printerr("tqwhiteboard: a command of more than %zu bytes is ignored\n", kLongestLine);
    else
        m_handler({ line, size });
    read();
}

} // namespace tqclient
