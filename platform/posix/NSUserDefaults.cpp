#include "../Foundation/NSUserDefaults.h"

#include "../Foundation/NSJSONSerialization.h"
#include "../Foundation/NSLog.h"
#include "../gtk/GLibPointers.h"
#include "DefaultsDatabase.h"

#include <filesystem>
#include <gio/gio.h>
#include <map>
#include <mutex>

namespace tq {

namespace {

constexpr const char* kFile = "user-defaults.sqlite";

// The store's folder is named after the program's file: that is the same at any time, whatever the application
// registers as later, and however the program was called.
std::string programName()
{
    constexpr std::string_view kReplaced = " (deleted)";
    const GCharPointer program(g_file_read_link("/proc/self/exe", nullptr));
    const GCharPointer base(g_path_get_basename(program ? program.get() : "application"));
    std::string name(base.get());
    if (name.ends_with(kReplaced))
        name.resize(name.size() - kReplaced.size());
    return name.starts_with('.') ? "_" + name : name;
}

std::filesystem::path fileIn(const std::string& folder)
{
    return std::filesystem::path(g_get_user_data_dir()) / folder / kFile;
}

// Earlier versions named the folder after a registered application's identifier. What they have stored is taken along.
void adoptEarlierFile(const std::filesystem::path& path)
{
    auto* application = g_application_get_default();
    const char* identifier = application ? g_application_get_application_id(application) : nullptr;
    std::error_code failure;
    if (!identifier || std::filesystem::exists(path, failure) || !std::filesystem::exists(fileIn(identifier), failure))
        return;
    const GCharPointer folder(g_path_get_dirname(path.c_str()));
    g_mkdir_with_parents(folder.get(), 0700);
    // The log first: without it the file is an older one.
    for (const char* suffix : { "-wal", "-shm", "" })
        std::filesystem::rename(fileIn(identifier).string() + suffix, path.string() + suffix, failure);
}

std::string databasePath()
{
    const auto path = fileIn(programName());
    adoptEarlierFile(path);
    return path;
}

} // namespace

struct NSUserDefaults::Impl {
    DefaultsDatabase database{ databasePath() };
    std::mutex mutex;
    // What could not be written to disk yet; absent is what could not be removed there.
    std::map<std::string, OptionalText, std::less<>> unsaved;

    OptionalText read(std::string_view key)
    {
        const std::lock_guard lock(mutex);
        if (auto found = unsaved.find(key); found != unsaved.end())
            return found->second;
        return database.read(key);
    }
    // @param text absent: the key is removed.
    void write(std::string key, OptionalText text)
    {
        const std::lock_guard lock(mutex);
        if (store(key, text))
            unsaved.erase(key);
        else
            unsaved.insert_or_assign(std::move(key), std::move(text));
    }
    bool writeUnsaved()
    {
        const std::lock_guard lock(mutex);
        std::erase_if(unsaved, [this](const auto& entry) { return store(entry.first, entry.second); });
        return unsaved.empty();
    }
    bool store(std::string_view key, const OptionalText& text)
    {
        return text ? database.write(key, *text) : database.remove(key);
    }
};

NSUserDefaults::NSUserDefaults()
    : m_impl(std::make_unique<Impl>())
{
}

NSUserDefaults::~NSUserDefaults() = default;

NSUserDefaults& NSUserDefaults::standardUserDefaults()
{
    static auto& defaults = *new NSUserDefaults;
    return defaults;
}

std::optional<boost::json::object> NSUserDefaults::dictionaryForKey(std::string_view key) const
{
    const auto text = m_impl->read(key);
    auto value = text ? NSJSONSerialization::JSONObjectWithData(*text) : std::nullopt;
    if (!value || !value->is_object())
        return std::nullopt;
    return std::move(value->get_object());
}

bool NSUserDefaults::setObject(const boost::json::object& value, std::string_view key)
{
    auto text = NSJSONSerialization::dataWithJSONObject(value);
    if (!text) {
        NSLog(TQWBLogLevel::Error, "user defaults: a value that JSON cannot hold is not stored");
        return false;
    }
    m_impl->write(std::string(key), std::move(*text));
    return true;
}

void NSUserDefaults::removeObjectForKey(std::string_view key) { m_impl->write(std::string(key), std::nullopt); }

bool NSUserDefaults::synchronize() { return m_impl->writeUnsaved(); }

} // namespace tq
