#pragma once

#include "../Foundation/NSTypes.h"
#include "../Foundation/Releaser.h"

#include <memory>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace tq {

/// A file of texts by key. Every write is atomic and on the disk when it returns. Not safe for several threads at once;
/// any number of processes may share the file.
class DefaultsDatabase {
public:
    /// Opens the file, or makes it (mode 0600, its folder 0700) when it is not there. A damaged file is set aside under
    /// a new name and a new one is begun; no other failure does that.
    explicit DefaultsDatabase(std::string path);
    ~DefaultsDatabase();
    DefaultsDatabase(const DefaultsDatabase&) = delete;
    DefaultsDatabase& operator=(const DefaultsDatabase&) = delete;

    /// Absent when nothing is stored under the key, or nothing can be read.
    OptionalText read(std::string_view key);
    /// @returns false, with a log line, when it could not be written; what was stored before is then still there.
    bool write(std::string_view key, std::string_view text);
    /// @returns false, with a log line, when it could not be removed; what was stored before is then still there.
    bool remove(std::string_view key);

private:
    using Statement = std::unique_ptr<sqlite3_stmt, Releaser<sqlite3_finalize>>;

    bool ensureOpen();
    int open();
    int open(const std::string& name, int flags);
    int checkContents();
    int firstRow(const char* sql, Statement& statement);
    int prepare(const char* sql, Statement& statement);
    void close();
    template <class Operation> bool perform(std::string_view failure, const Operation& operation);
    bool canBeRead() const;
    int tryRead(std::string_view key, OptionalText& text);
    int tryWrite(std::string_view key, std::string_view text);
    int tryRemove(std::string_view key);
    bool recover(int code);
    bool setAsideIfDamaged(int code);
    void log(std::string_view what, int code) const;

    const std::string m_path;
    // Of the file that was opened.
    ino_t m_inode = 0;
    // Opened as it is, without a look at what other processes do: good for one reading only.
    bool m_isForTheMoment = false;
    // Damage has been seen once.
    bool m_isSuspected = false;
    std::unique_ptr<sqlite3, Releaser<sqlite3_close_v2>> m_database;
    Statement m_read;
    Statement m_write;
    Statement m_remove;
};

} // namespace tq
