#include "../Foundation/NSUserDefaults.h"

#include "../Foundation/NSJSONSerialization.h"
#include "../Foundation/NSLog.h"
#include "DefaultsDatabase.h"
#include "GLibPointers.h"

#include <gio/gio.h>
#include <map>
#include <mutex>

namespace tq {

namespace {

// The application's name as a folder's name.
std::string applicationName()
{
    auto* application = g_application_get_default();
    const char* name = application ? g_application_get_application_id(application) : nullptr;
    const GCharPointer program(g_file_read_link("/proc/self/exe", nullptr));
    const GCharPointer programName(g_path_get_basename(program ? program.get() : "application"));
    std::string folder(name && *name ? name : programName.get());
    for (char& character : folder) {
        if (character == '/')
            character = '_';
    }
    return folder.starts_with('.') ? "_" + folder : folder;
}

std::string databasePath()
{
    const GCharPointer folder(g_build_filename(g_get_user_data_dir(), applicationName().c_str(), nullptr));
    return std::string(folder.get()) + "/user-defaults.sqlite";
}

} // namespace

struct NSUserDefaults::Impl {
    DefaultsDatabase database{ databasePath() };
    std::mutex mutex;
    // What could not be written to disk yet.
    std::map<std::string, std::string, std::less<>> unsaved;

    OptionalText read(std::string_view key)
    {
        const std::lock_guard lock(mutex);
        if (auto found = unsaved.find(key); found != unsaved.end())
            return found->second;
        return database.read(key);
    }
    void write(std::string key, std::string text)
    {
        const std::lock_guard lock(mutex);
        if (database.write(key, text))
            unsaved.erase(key);
        else
            unsaved.insert_or_assign(std::move(key), std::move(text));
    }
    bool writeUnsaved()
    {
        const std::lock_guard lock(mutex);
        std::erase_if(unsaved, [this](const auto& entry) { return database.write(entry.first, entry.second); });
        return unsaved.empty();
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
        NSLog("user defaults: a value that JSON cannot hold is not stored");
        return false;
    }
    m_impl->write(std::string(key), std::move(*text));
    return true;
}

bool NSUserDefaults::synchronize() { return m_impl->writeUnsaved(); }

} // namespace tq
