#include "RecordingStore.h"

#include "Recording.h"
#include "StateFile.h"
#include "platform/Foundation/JSONWriter.h"

#include <algorithm>
#include <iostream>
#include <system_error>

namespace tq::conference {

RecordingStore::RecordingStore(std::filesystem::path directory)
    : m_directory(std::move(directory))
{
    StateFile::ensureDirectory(m_directory);
}

bool RecordingStore::save(const std::string& id, const boost::json::object& recording) const
{
    try {
        StateFile::write(m_directory / (id + ".json"), tq::writtenJSON(recording));
        return true;
    } catch (const std::system_error& error) {
        std::cerr << "recording not saved: " << error.what() << std::endl;
        return false;
    }
}

std::optional<std::string> RecordingStore::load(std::string_view id) const
{
    const auto isNameLetter = [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9')
            || letter == '-' || letter == '_';
    };
    if (id.empty() || id.size() > 64 || !std::ranges::all_of(id, isNameLetter))
        return std::nullopt;
    auto text = StateFile::read(m_directory / (std::string(id) + ".json"), 4 * Recording::s_mostBytes);
    if (!text)
        return std::nullopt;
    boost::json::error_code error;
    const auto value = boost::json::parse(*text, error);
    const auto* const object = error ? nullptr : value.if_object();
    const auto* const events = object ? object->if_contains("events") : nullptr;
    return events && events->is_array() ? text : std::nullopt;
}

} // namespace tq::conference
