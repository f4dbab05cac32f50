#include "../Foundation/NSUserDefaults.h"

#include "../Foundation/NSJSONSerialization.h"
#include "../Foundation/NSLog.h"
#include "DefaultsDatabase.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <pwd.h>
#include <unistd.h>

namespace tq {

namespace {

// The store's folder is named after the program's file: that is the same at any time, whatever the application
// registers as later, and however the program was called.
std::string programName()
{
    constexpr std::string_view kReplaced = " (deleted)";
    std::error_code failure;
    auto name = std::filesystem::read_symlink("/proc/self/exe", failure).filename().string();
    if (name.ends_with(kReplaced))
        name.resize(name.size() - kReplaced.size());
    if (name.empty())
        return "application";
    return name.starts_with('.') ? "_" + name : name;
}

std::filesystem::path homeFolder()
{
    if (const char* home = std::getenv("HOME"))
        return home;
    std::array<char, 4096> buffer;
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    return found && found->pw_dir ? found->pw_dir : "/";
}

std::filesystem::path dataFolder()
{
    const char* data = std::getenv("XDG_DATA_HOME");
    return data && *data ? std::filesystem::path(data) : homeFolder() / ".local" / "share";
}

std::string databasePath() { return dataFolder() / programName() / "user-defaults.sqlite"; }

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
