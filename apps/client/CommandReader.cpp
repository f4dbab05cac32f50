#include "CommandReader.h"

#include <gio/gunixinputstream.h>
#include <memory>
#include <unistd.h>
#include <utility>

namespace tqclient {

namespace {

constexpr gsize kReadSize = 65536;
constexpr std::size_t kLongestLine = std::size_t{ 16 } << 20;

} // namespace

struct CommandReader::Lines : std::enable_shared_from_this<Lines> {
    Handler handler;
    UniqueObject<GInputStream> stream{ g_unix_input_stream_new(STDIN_FILENO, FALSE) };
    UniqueObject<GCancellable> cancellable{ g_cancellable_new() };
    std::string line;
    bool isTooLong = false;

    void read()
    {
        auto done = [](GObject*, GAsyncResult* result, gpointer data) {
            std::unique_ptr<std::shared_ptr<Lines>> self(static_cast<std::shared_ptr<Lines>*>(data));
            (*self)->received(result);
        };
        g_input_stream_read_bytes_async(stream.get(), kReadSize, G_PRIORITY_DEFAULT, cancellable.get(), done,
            std::make_unique<std::shared_ptr<Lines>>(shared_from_this()).release());
    }

    void received(GAsyncResult* result)
    {
        GError* failure = nullptr;
        UniqueBytes bytes(g_input_stream_read_bytes_finish(stream.get(), result, &failure));
        UniqueError error(failure);
        if (!handler)
            return;
        gsize size = 0;
        const auto* data = bytes ? static_cast<const char*>(g_bytes_get_data(bytes.get(), &size)) : nullptr;
        if (!size) {
            // The end of the input, or no input at all: the program goes on with its window.
            finishLine();
            return;
        }
        append({ data, size });
        if (handler)
            read();
    }

    void append(std::string_view text)
    {
        while (!text.empty() && handler) {
            auto end = text.find('\n');
            auto piece = text.substr(0, end);
            isTooLong = isTooLong || line.size() + piece.size() > kLongestLine;
            if (!isTooLong)
                line += piece;
            if (end == text.npos)
                return;
            finishLine();
            text.remove_prefix(end + 1);
        }
    }

    void finishLine()
    {
        if (isTooLong)
            g_printerr("tqwhiteboard: a command of more than %zu bytes is ignored\n", kLongestLine);
        else if (!line.empty())
            handler(std::exchange(line, {}));
        line.clear();
        isTooLong = false;
    }
};

CommandReader::CommandReader(Handler handler)
    : m_lines(std::make_shared<Lines>())
{
    m_lines->handler = std::move(handler);
    m_lines->read();
}

CommandReader::~CommandReader()
{
    m_lines->handler = nullptr;
    g_cancellable_cancel(m_lines->cancellable.get());
}

} // namespace tqclient
