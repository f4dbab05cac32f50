#pragma once

namespace tq::test {

/// While it exists, SQLite's files are reached through it, and one operation on them fails when its time has come.
class FailingDisk {
public:
    FailingDisk();
    ~FailingDisk();
    FailingDisk(const FailingDisk&) = delete;
    FailingDisk& operator=(const FailingDisk&) = delete;

    /// Fails the operation after so many good ones, and all that follow it until `mend`.
    /// @param code is SQLite's, extended or not.
    void breakAfter(int operations, int code);
    void mend();
    /// Whether any operation has failed since `breakAfter`.
    bool hasFailed() const;
};

} // namespace tq::test
