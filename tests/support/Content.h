#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace tq::test {

/// The bytes of a file; throws when it cannot be read.
inline std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw std::runtime_error("cannot read " + path.string());
    return { std::istreambuf_iterator<char>(stream), {} };
}

} // namespace tq::test
