#pragma once

#include <boost/json.hpp>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tq::conference {

/// The finished recordings, one file each.
class RecordingStore {
public:
    /// Makes the directory. Throws std::system_error.
    explicit RecordingStore(std::filesystem::path directory);

    /// False (and a line in the log) when the file cannot be written.
    bool save(const std::string& id, const boost::json::object& recording) const;

    /// The recording's text, as it was saved; absent if there is none of that name or its file is damaged.
    std::optional<std::string> load(std::string_view id) const;

private:
    std::filesystem::path m_directory;
};

} // namespace tq::conference
