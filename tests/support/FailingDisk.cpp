#include "FailingDisk.h"

#include <map>
#include <sqlite3.h>
#include <stdexcept>

namespace tq::test {

namespace {

int s_operationsLeft = -1;
int s_code = SQLITE_OK;
bool s_hasFailed = false;
sqlite3_vfs* s_real = nullptr;
sqlite3_vfs s_failing;

using Methods = sqlite3_io_methods;
struct FailingMethods : Methods {
    const Methods* real;
};
// By the real ones: not every file has the same.
std::map<const Methods*, FailingMethods> s_methods;

const Methods& realMethods(sqlite3_file* file) { return *static_cast<const FailingMethods*>(file->pMethods)->real; }

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
    const int code = failure();
    return code ? code : (realMethods(file).*Method)(file, arguments...);
}

// Nobody waits for a real disk.
int sync(sqlite3_file*, int) { return failure(); }

// To SQLite, an index that may only be read is one that is there.
int mapIndex(sqlite3_file* file, int page, int size, int isExtended, void volatile** memory)
{
    const int code = (s_code & 0xFF) == SQLITE_READONLY ? SQLITE_OK : failure();
    return code ? code : realMethods(file).xShmMap(file, page, size, isExtended, memory);
}

// What tidies up, or only tells, always works.
FailingMethods failing(const Methods* real)
{
    FailingMethods methods{ *real, real };
    methods.iVersion = 2; // no mapped pages
    methods.xRead = failingly<&Methods::xRead, void*, int, sqlite3_int64>;
    methods.xWrite = failingly<&Methods::xWrite, const void*, int, sqlite3_int64>;
    methods.xTruncate = failingly<&Methods::xTruncate, sqlite3_int64>;
    methods.xSync = sync;
    methods.xFileSize = failingly<&Methods::xFileSize, sqlite3_int64*>;
    methods.xLock = failingly<&Methods::xLock, int>;
    methods.xCheckReservedLock = failingly<&Methods::xCheckReservedLock, int*>;
    methods.xShmMap = mapIndex;
    return methods;
}

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    file->pMethods = nullptr;
    if (const int code = failure())
        return code;
    const int code = s_real->xOpen(s_real, name, file, flags, outFlags);
    if (file->pMethods)
        file->pMethods = &s_methods.try_emplace(file->pMethods, failing(file->pMethods)).first->second;
    return code;
}

} // namespace

FailingDisk::FailingDisk()
{
    s_real = sqlite3_vfs_find(nullptr);
    s_failing = *s_real;
    s_failing.zName = "failing";
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
