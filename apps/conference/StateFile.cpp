#include "StateFile.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tq::conference {

void StateFile::ensureDirectory(const std::filesystem::path& directory)
{
    if (std::filesystem::create_directories(directory))
        std::filesystem::permissions(directory, std::filesystem::perms::owner_all);
}

void StateFile::write(const std::filesystem::path& path, std::string_view content)
{
    auto draft = path;
    draft += ".new";
    // What an interrupted run left behind may have any mode.
    ::unlink(draft.c_str());
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(draft.c_str(), "wxe"), std::fclose);
    if (!file || ::fchmod(::fileno(file.get()), S_IRUSR | S_IWUSR) != 0
        || std::fwrite(content.data(), 1, content.size(), file.get()) != content.size() || std::fflush(file.get()) != 0
        || ::fsync(::fileno(file.get())) != 0 || ::rename(draft.c_str(), path.c_str()) != 0)
        throw std::system_error(errno, std::generic_category(), path.string());
}

std::optional<std::string> StateFile::read(const std::filesystem::path& path, std::size_t limit)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error || size > limit)
        return std::nullopt;
    std::ifstream stream(path, std::ios::binary);
    std::string content(static_cast<std::size_t>(size), '\0');
    if (!stream.read(content.data(), static_cast<std::streamsize>(content.size())))
        return std::nullopt;
    return content;
}

} // namespace tq::conference
