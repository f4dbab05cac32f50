#pragma once

#include "NSTypes.h"

#include <boost/json/object.hpp>
#include <memory>
#include <optional>
#include <string_view>

namespace tq {

/// The application's own store of small values, kept across its runs. Any thread.
class NSUserDefaults {
public:
    /// The one store of this program, opened at its first use and never closed: a file in the user's data folder, below
    /// the name of the program's file.
    static NSUserDefaults& standardUserDefaults();

    /// Absent when nothing is stored under the key, or nothing that reads as a dictionary.
    std::optional<boost::json::object> dictionaryForKey(std::string_view key) const;
    /// Replaces what is stored under the key. A value that cannot be written to disk is kept for this run, and the log
    /// says why.
    /// @returns false, with nothing changed, for a value that is nested too deeply or holds what JSON cannot.
    bool setObject(const boost::json::object& value, std::string_view key);
    /// Removes what is stored under the key; nothing is nothing to remove. What cannot be removed on disk is gone for
    /// this run, and the log says why.
    void removeObjectForKey(std::string_view key);
    /// Writes everything out. Saves and removals are durable when they return; this tries again what could not be
    /// written then.
    bool synchronize();

    ~NSUserDefaults();
    NSUserDefaults(const NSUserDefaults&) = delete;
    NSUserDefaults& operator=(const NSUserDefaults&) = delete;

private:
    NSUserDefaults();

    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace tq
