#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tq::conference {

/// Files of the state directory: whole, private to their owner from the moment they exist, replaced at one stroke.
class StateFile {
public:
    /// Makes the directory (mode 0700) and those above it where they are missing. Throws std::system_error.
    static void ensureDirectory(const std::filesystem::path&);

    /// Replaces the file by one of mode 0600 with this content, durably. Throws std::system_error.
    static void write(const std::filesystem::path&, std::string_view content);

    /// The file's content; absent if it cannot be read or is larger than `limit` bytes.
    static std::optional<std::string> read(const std::filesystem::path&, std::size_t limit);
};

} // namespace tq::conference
