#pragma once

#include <ctime>
#include <filesystem>

namespace tq::conference {

/// The service's own certificate for localhost, 127.0.0.1 and ::1, and the authority that signed it.
///
/// The authority's private key is never stored: nobody can sign a second certificate with the authority that a
/// developer's machine was told to trust.
class Certificate {
public:
    /// Takes the pair that `directory` holds, or makes a new one when it is missing, damaged or (nearly) expired at
    /// `now`. Throws std::runtime_error or std::system_error.
    static Certificate ensure(const std::filesystem::path& directory, std::time_t now);

    const std::filesystem::path& authorityFile() const { return m_authorityFile; }
    const std::filesystem::path& serverFile() const { return m_serverFile; }
    /// Readable by its owner alone.
    const std::filesystem::path& keyFile() const { return m_keyFile; }

private:
    explicit Certificate(const std::filesystem::path& directory);

    bool isUsable(std::time_t now) const;
    void make(std::time_t now) const;

    std::filesystem::path m_authorityFile;
    std::filesystem::path m_serverFile;
    std::filesystem::path m_keyFile;
};

} // namespace tq::conference
