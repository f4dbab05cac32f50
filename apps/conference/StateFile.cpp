#include "StateFile.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tq::conference {

namespace {

[[noreturn]] void fail(const std::filesystem::path& path)
{
    throw std::system_error(errno, std::generic_category(), path.string());
}

class Descriptor {
public:
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor()
    {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return m_number; }

private:
    int m_number;
};

} // namespace

void StateFile::ensureDirectory(const std::filesystem::path& directory)
{
    if (std::filesystem::is_directory(directory))
        return;
    if (directory.has_parent_path() && directory.parent_path() != directory)
        ensureDirectory(directory.parent_path());
    if (::mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        fail(directory);
    if (!std::filesystem::is_directory(directory)) {
        errno = ENOTDIR;
        fail(directory);
    }
}

void StateFile::write(const std::filesystem::path& path, std::string_view content)
{
    auto draft = path;
    draft += ".new";
    // What an interrupted run left behind may have any mode.
    ::unlink(draft.c_str());
    const Descriptor file(
        ::open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (file.number() < 0)
        fail(draft);
    while (!content.empty()) {
        const auto written = ::write(file.number(), content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            fail(draft);
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    if (::fsync(file.number()) != 0 || ::rename(draft.c_str(), path.c_str()) != 0)
        fail(path);
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
