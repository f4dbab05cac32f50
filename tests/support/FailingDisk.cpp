#include "FailingDisk.h"

#include <sqlite3.h>
#include <stdexcept>

namespace tq::test {

namespace {

int s_operationsLeft = -1;
int s_code = SQLITE_OK;
bool s_hasFailed = false;
sqlite3_vfs* s_real = nullptr;
sqlite3_vfs s_failing;

// Lies before the real file in the same piece of memory.
struct File {
    sqlite3_file base;
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

int failure()
{
    if (s_operationsLeft < 0)
        return SQLITE_OK;
    if (s_operationsLeft > 0) {
        --s_operationsLeft;
        return SQLITE_OK;
    }
    s_hasFailed = true;
    // What is busy is tried again for long: it is so only once.
    if ((s_code & 0xFF) == SQLITE_BUSY)
        s_operationsLeft = -1;
    return s_code;
}

// The real method, or the failure in its place.
template <auto Method, class... Arguments> int failingly(sqlite3_file* file, Arguments... arguments)
{
    if (const int code = failure())
        return code;
    auto* real = reinterpret_cast<File*>(file)->real();
    return (real->pMethods->*Method)(real, arguments...);
}

// What tidies up, or only tells, always works.
template <auto Method, class... Arguments> auto really(sqlite3_file* file, Arguments... arguments)
{
    auto* real = reinterpret_cast<File*>(file)->real();
    return (real->pMethods->*Method)(real, arguments...);
}

using Methods = sqlite3_io_methods;

// Nobody waits for a real disk.
int sync(sqlite3_file*, int) { return failure(); }

// To SQLite, an index that may only be read is one that is there.
int mapIndex(sqlite3_file* file, int page, int size, int isExtended, void volatile** memory)
{
    const bool isFailing = (s_code & 0xFF) != SQLITE_READONLY;
    return (isFailing
            ? failingly<&Methods::xShmMap, int, int, int, void volatile**>
            : really<&Methods::xShmMap, int, int, int, void volatile**>)(file, page, size, isExtended, memory);
}

const Methods s_methods{
    .iVersion = 2,
    .xClose = really<&Methods::xClose>,
    .xRead = failingly<&Methods::xRead, void*, int, sqlite3_int64>,
    .xWrite = failingly<&Methods::xWrite, const void*, int, sqlite3_int64>,
    .xTruncate = failingly<&Methods::xTruncate, sqlite3_int64>,
    .xSync = sync,
    .xFileSize = failingly<&Methods::xFileSize, sqlite3_int64*>,
    .xLock = failingly<&Methods::xLock, int>,
    .xUnlock = really<&Methods::xUnlock, int>,
    .xCheckReservedLock = failingly<&Methods::xCheckReservedLock, int*>,
    .xFileControl = really<&Methods::xFileControl, int, void*>,
    .xSectorSize = really<&Methods::xSectorSize>,
    .xDeviceCharacteristics = really<&Methods::xDeviceCharacteristics>,
    .xShmMap = mapIndex,
    .xShmLock = really<&Methods::xShmLock, int, int, int>,
    .xShmBarrier = [](sqlite3_file* file) { really<&Methods::xShmBarrier>(file); },
    .xShmUnmap = really<&Methods::xShmUnmap, int>,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    auto* made = reinterpret_cast<File*>(file);
    made->base.pMethods = nullptr;
    if (const int code = failure())
        return code;
    const int code = s_real->xOpen(s_real, name, made->real(), flags, outFlags);
    if (made->real()->pMethods)
        made->base.pMethods = &s_methods;
    return code;
}

} // namespace

FailingDisk::FailingDisk()
{
    s_real = sqlite3_vfs_find(nullptr);
    s_failing = *s_real;
    s_failing.zName = "failing";
    s_failing.szOsFile += static_cast<int>(sizeof(File));
    s_failing.xOpen = openFile;
    if (sqlite3_vfs_register(&s_failing, 1) != SQLITE_OK)
        throw std::runtime_error("the failing disk is not taken");
}

FailingDisk::~FailingDisk()
{
    mend();
    sqlite3_vfs_unregister(&s_failing);
}

void FailingDisk::breakAfter(int operations, int code)
{
    s_operationsLeft = operations;
    s_code = code;
    s_hasFailed = false;
}

void FailingDisk::mend() { s_operationsLeft = -1; }

bool FailingDisk::hasFailed() const { return s_hasFailed; }

} // namespace tq::test
