#include "Log.h"
#include "Toolkit.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

std::filesystem::path makeTemporaryFolder()
{
    auto pattern = (std::filesystem::temp_directory_path() / "tqwb-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no temporary folder can be made");
    return pattern;
}

// The toolkit goes before what it has stored.
int runTests(int& argc, char** argv)
{
    const tq::test::Toolkit toolkit(argc, argv);
    return RUN_ALL_TESTS();
}

} // namespace

// Every run has a data folder of its own, no proxy between it and its servers, and no accessibility bus: one that is
// started on demand would outlive the run's folders.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // A test that dies on purpose does so in a child: it uses its parent's folder.
    const bool isChild = getenv("TQWB_TEST_FOLDER") != nullptr;
    const std::filesystem::path folder = isChild ? getenv("TQWB_TEST_FOLDER") : makeTemporaryFolder();
    setenv("TQWB_TEST_FOLDER", folder.c_str(), 1);
    setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
    setenv("XDG_CACHE_HOME", (folder / "cache").c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    for (const char* name : { "http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY" })
        unsetenv(name);
    // Shaders take longer to compile than most tests: what one program has compiled the next one has.
    const auto shaders = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "shaders";
    setenv("MESA_SHADER_CACHE_DIR", shaders.c_str(), 1);
    tq::test::captureLog();
    const int result = runTests(argc, argv);
    std::error_code ignored;
    if (!isChild)
        std::filesystem::remove_all(folder, ignored);
    return result;
}
