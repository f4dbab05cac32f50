#include "DefaultsDatabase.h"

#include "../Foundation/NSLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tq {

namespace {

// How long one process waits for another one's write.
constexpr int kBusyMilliseconds = 2000;

// How often an operation is tried again: after a second look at the file, and with a new one in its place.
constexpr int kMoreAttempts = 2;

// The file's one table. In a file with anything else, such as a trigger, a write need not do what it says; into a
// damaged page one seems to succeed that can never be read.
constexpr const char* kMakeTable = "CREATE TABLE IF NOT EXISTS"
                                   " defaults (key BLOB PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID";
constexpr const char* kIsOurs = "SELECT count(*) = 1 AND min(sql) = 'CREATE TABLE"
                                " defaults (key BLOB PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID'"
                                " FROM sqlite_master";
// The first fault; by this way in every version, unlike with an argument.
constexpr const char* kCheck = "SELECT quick_check FROM pragma_quick_check LIMIT 1";

int primaryOf(int code) { return code & 0xFF; }

bool speaksOfDamage(int code) { return primaryOf(code) == SQLITE_CORRUPT || primaryOf(code) == SQLITE_NOTADB; }

// What a check's words come to. A page that could not be read is no damage: another time it may be.
int codeOfCheck(std::string_view words)
{
    constexpr std::string_view kUnread = "unable to get the page. error code=";
    if (words == "ok")
        return SQLITE_OK;
    if (words.find("failed to get page") != words.npos)
        return SQLITE_IOERR;
    const auto place = words.find(kUnread);
    const int code = place == words.npos ? SQLITE_CORRUPT : std::atoi(words.data() + place + kUnread.size());
    return speaksOfDamage(code) ? SQLITE_CORRUPT : SQLITE_IOERR;
}

// Whether the head names a format of tables that there is not: for SQLite that is an error like any other.
bool isOfUnknownFormat(const std::string& path)
{
    constexpr std::streamoff kPlace = 44;
    constexpr std::array<char, 3> kNothing{};
    std::array<char, 4> format{};
    std::ifstream file(path, std::ios::binary);
    return file.seekg(kPlace).read(format.data(), format.size())
        && (!std::equal(kNothing.begin(), kNothing.end(), format.begin()) || format[3] < 0 || format[3] > 4);
}

void bind(sqlite3_stmt* statement, int index, std::string_view text)
{
    sqlite3_bind_blob64(statement, index, text.data() ? text.data() : "", text.size(), SQLITE_STATIC);
}

// Ends what a statement holds of the file when the caller is done with its row.
struct Reset {
    void operator()(sqlite3_stmt* statement) const
    {
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }
};
using RunningStatement = std::unique_ptr<sqlite3_stmt, Reset>;

// With those above it that are not there either.
void createPrivateFolder(const std::filesystem::path& folder)
{
    if (mkdir(folder.c_str(), 0700) == 0 || errno != ENOENT || !folder.has_parent_path())
        return;
    createPrivateFolder(folder.parent_path());
    mkdir(folder.c_str(), 0700);
}

// Made before the database is, so that nobody else can read it even for a moment.
void createPrivately(const std::string& path)
{
    createPrivateFolder(std::filesystem::path(path).parent_path());
    const int file = ::open(path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0)
        ::close(file);
}

// The file's address, for SQLite.
std::string addressOf(const std::string& path)
{
    std::string address = "file://";
    for (const char character : path) {
        if (character == '%' || character == '?' || character == '#')
            address += character == '%' ? "%25" : character == '?' ? "%3f" : "%23";
        else
            address += character;
    }
    return address;
}

ino_t inodeOf(const std::string& path)
{
    struct stat status { };
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

} // namespace

DefaultsDatabase::DefaultsDatabase(std::string path)
    : m_path(std::move(path))
{
}

DefaultsDatabase::~DefaultsDatabase() = default;

int DefaultsDatabase::open()
{
    close();
    createPrivately(m_path);
    m_inode = inodeOf(m_path);
    const int code = open(m_path, SQLITE_OPEN_READWRITE);
    // Even reading needs files beside this one, and they cannot be made in a folder that may only be read. Without a
    // log the file is all there is, and can be read by itself for the moment.
    m_isForTheMoment = (code == SQLITE_CANTOPEN || code == SQLITE_READONLY) && m_inode && !inodeOf(m_path + "-wal");
    if (!m_isForTheMoment)
        return code;
    close();
    return open(addressOf(m_path) + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
}

int DefaultsDatabase::open(const std::string& name, int flags)
{
    sqlite3* database = nullptr;
    int code = sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_FULLMUTEX, nullptr);
    m_database.reset(database);
    if (code != SQLITE_OK)
        return code;
    sqlite3_busy_timeout(database, kBusyMilliseconds);
    sqlite3_extended_result_codes(database, 0);
    // Where it can be had, a log makes a commit wait for the disk once; otherwise it waits several times.
    sqlite3_exec(database, "PRAGMA journal_mode = WAL;", nullptr, nullptr, nullptr);
    // Every commit is on the disk, with its folder's entry, before it counts as done.
    code
        = sqlite3_exec(database, "PRAGMA synchronous = EXTRA; PRAGMA trusted_schema = OFF;", nullptr, nullptr, nullptr);
    if (code == SQLITE_OK)
        code = sqlite3_exec(database, kMakeTable, nullptr, nullptr, nullptr);
    // Something else may have the table's name.
    if (code == SQLITE_OK || primaryOf(code) == SQLITE_ERROR)
        code = checkContents();
    if (code == SQLITE_OK)
        code = prepare("SELECT value FROM defaults WHERE key = ?1", m_read);
    if (code == SQLITE_OK)
        code = prepare("INSERT OR REPLACE INTO defaults (key, value) VALUES (?1, ?2)", m_write);
    if (code == SQLITE_OK)
        code = prepare("DELETE FROM defaults WHERE key = ?1", m_remove);
    return code;
}

// SQLITE_CORRUPT for a file that is damaged or holds something else than our table.
int DefaultsDatabase::checkContents()
{
    Statement statement;
    int code = firstRow(kIsOurs, statement);
    if (code == SQLITE_ERROR && isOfUnknownFormat(m_path))
        return SQLITE_CORRUPT;
    if (code != SQLITE_OK)
        return code;
    if (!sqlite3_column_int(statement.get(), 0))
        return SQLITE_CORRUPT;
    code = firstRow(kCheck, statement);
    if (code != SQLITE_OK)
        return code;
    const auto* words = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
    return words ? codeOfCheck(words) : SQLITE_NOMEM;
}

int DefaultsDatabase::firstRow(const char* sql, Statement& statement)
{
    int code = prepare(sql, statement);
    if (code == SQLITE_OK)
        code = sqlite3_step(statement.get());
    return code == SQLITE_ROW ? SQLITE_OK : code == SQLITE_DONE ? SQLITE_INTERNAL : code;
}

int DefaultsDatabase::prepare(const char* sql, Statement& statement)
{
    sqlite3_stmt* made = nullptr;
    const int code = sqlite3_prepare_v3(m_database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &made, nullptr);
    statement.reset(made);
    return code;
}

void DefaultsDatabase::close()
{
    m_read.reset();
    m_write.reset();
    m_remove.reset();
    m_database.reset();
}

bool DefaultsDatabase::ensureOpen()
{
    // Another process may have set the file aside, and nobody would look into the old one again.
    if (m_database && !m_isForTheMoment && inodeOf(m_path) == m_inode)
        return true;
    int code = open();
    for (int attempt = 0; attempt < kMoreAttempts && code != SQLITE_OK && setAsideIfDamaged(code); ++attempt)
        code = open();
    if (code == SQLITE_OK)
        return true;
    log("cannot be opened", code);
    close();
    return false;
}

OptionalText DefaultsDatabase::read(std::string_view key)
{
    OptionalText text;
    perform("cannot be read", [&] { return tryRead(key, text); });
    return text;
}

bool DefaultsDatabase::write(std::string_view key, std::string_view text)
{
    return perform("cannot be written", [&] { return tryWrite(key, text); });
}

bool DefaultsDatabase::remove(std::string_view key)
{
    return perform("cannot be written", [&] { return tryRemove(key); });
}

template <class Operation> bool DefaultsDatabase::perform(std::string_view failure, const Operation& operation)
{
    if (!ensureOpen())
        return false;
    int code = operation();
    for (int attempt = 0; attempt < kMoreAttempts && code != SQLITE_OK && recover(code) && ensureOpen(); ++attempt)
        code = operation();
    if (code != SQLITE_OK)
        log(failure, code);
    else
        m_isSuspected = false;
    return code == SQLITE_OK;
}

int DefaultsDatabase::tryRead(std::string_view key, OptionalText& text)
{
    const RunningStatement statement(m_read.get());
    bind(statement.get(), 1, key);
    const int code = sqlite3_step(statement.get());
    if (code == SQLITE_DONE)
        return SQLITE_OK;
    if (code != SQLITE_ROW)
        return code;
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement.get(), 0));
    text.emplace();
    if (bytes)
        text->assign(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), 0)));
    return SQLITE_OK;
}

int DefaultsDatabase::tryWrite(std::string_view key, std::string_view text)
{
    const RunningStatement statement(m_write.get());
    bind(statement.get(), 1, key);
    bind(statement.get(), 2, text);
    const int code = sqlite3_step(statement.get());
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

int DefaultsDatabase::tryRemove(std::string_view key)
{
    const RunningStatement statement(m_remove.get());
    bind(statement.get(), 1, key);
    const int code = sqlite3_step(statement.get());
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

// Whether the failure is worth another try, with the file opened anew.
bool DefaultsDatabase::recover(int code)
{
    // That the table is no longer what it was, say. What is the matter is found by opening the file.
    if (code == SQLITE_ERROR) {
        close();
        return true;
    }
    return setAsideIfDamaged(code);
}

// Whether a database's file and its log can be read to their ends.
bool DefaultsDatabase::canBeRead() const
{
    std::array<char, 65536> bytes;
    for (const int part : { SQLITE_FCNTL_FILE_POINTER, SQLITE_FCNTL_JOURNAL_POINTER }) {
        sqlite3_file* file = nullptr;
        sqlite3_int64 size = 0;
        if (sqlite3_file_control(m_database.get(), "main", part, &file) || !file || !file->pMethods)
            continue;
        int code = file->pMethods->xFileSize(file, &size);
        for (sqlite3_int64 place = 0; code == SQLITE_OK && place < size; place += bytes.size()) {
            const auto count = std::min<sqlite3_int64>(bytes.size(), size - place);
            code = file->pMethods->xRead(file, bytes.data(), static_cast<int>(count), place);
        }
        if (code != SQLITE_OK)
            return false;
    }
    return true;
}

// Whether the failure means that the file is no database of ours; then it is out of the way, or is to be looked at
// again.
bool DefaultsDatabase::setAsideIfDamaged(int code)
{
    // (What is seen without a look at what others do is no proof.)
    if (!speaksOfDamage(code) || m_isForTheMoment)
        return false;
    // SQLite speaks of damage as well when a disk cannot be read.
    if (m_database && !canBeRead())
        return false;
    close();
    // It may have been unreadable for a moment.
    if (!std::exchange(m_isSuspected, true))
        return true;
    m_isSuspected = false;
    // Another process may have been here first: then there is a new file already.
    const auto inode = inodeOf(m_path);
    if (inode != m_inode)
        return true;
    if (!inode)
        return false;
    std::error_code failure;
    auto aside = m_path + ".damaged-" + std::to_string(std::time(nullptr));
    for (int number = 2; std::filesystem::exists(aside, failure); ++number)
        aside = m_path + ".damaged-" + std::to_string(std::time(nullptr)) + "-" + std::to_string(number);
    std::filesystem::rename(m_path, aside, failure);
    if (failure)
        return false;
    // What belongs to the old file must not be taken for the new one's.
    for (const char* suffix : { "-journal", "-wal", "-shm" })
        std::filesystem::rename(m_path + suffix, aside + suffix, failure);
    NSLog(TQWBLogLevel::Warning, "user defaults: the file was damaged and is now " + aside);
    return true;
}

void DefaultsDatabase::log(std::string_view what, int code) const
{
    NSLog(TQWBLogLevel::Error, "user defaults: " + m_path + " " + std::string(what) + ": " + sqlite3_errstr(code));
}

} // namespace tq
