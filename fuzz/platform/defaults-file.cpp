// The bytes of the user defaults' file.

#include "fuzz/support/Fuzz.h"
#include "platform/posix/DefaultsDatabase.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace tq::fuzz {
namespace {

namespace fs = std::filesystem;

// In memory where there is such a place: every save waits for the disk.
const fs::path& folder()
{
    static const fs::path made = [] {
        auto pattern
            = ((fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) / "tqwb-fuzz-XXXXXX")
                  .string();
        expect(mkdtemp(pattern.data()) != nullptr, "a temporary folder can be made");
        std::atexit([] {
            std::error_code ignored;
            fs::remove_all(folder(), ignored);
        });
        return fs::path(pattern);
    }();
    return made;
}

void check(std::string_view bytes)
{
    const auto path = (folder() / "data" / "user-defaults.sqlite").string();
    fs::remove_all(folder() / "data");
    fs::create_directory(folder() / "data");
    std::ofstream(path, std::ios::binary) << bytes;
    {
        DefaultsDatabase database(path);
        database.read("key");
        const bool isWritten = database.write("other", "new");
        if (isWritten)
            expect(database.read("other") == "new", "what was written is read");
    }
    DefaultsDatabase database(path);
    database.read("key");
    for (const auto& entry : fs::directory_iterator(folder() / "data"))
        expect(entry.path().filename().string().starts_with("user-defaults.sqlite"), "no other file is made");
}

} // namespace
} // namespace tq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tq::fuzz::check(tq::fuzz::textOf(data, size));
    return 0;
}
