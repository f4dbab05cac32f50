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
struct Folder {
    Folder() { expect(mkdtemp(path.data()) != nullptr, "a temporary folder can be made"); }
    ~Folder() { fs::remove_all(path); }
    std::string path = fs::exists("/dev/shm") ? "/dev/shm/tqwb-fuzz-XXXXXX" : "/tmp/tqwb-fuzz-XXXXXX";
};

} // namespace

void check(std::string_view bytes)
{
    static const Folder s_folder;
    const auto data = fs::path(s_folder.path) / "data";
    const auto path = (data / "user-defaults.sqlite").string();
    fs::remove_all(data);
    fs::create_directory(data);
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
    for (const auto& entry : fs::directory_iterator(data))
        expect(entry.path().filename().string().starts_with("user-defaults.sqlite"), "no other file is made");
}

} // namespace tq::fuzz
