#pragma once

#include <string>

namespace tqclient {

/// Where the client stands with its room.
enum class Phase { NotJoined, Joining, OpeningReplay, Loading, InRoom, Replaying, Reconnecting, Leaving, Left, Failed };

/// Everything that the window shows of the session at a glance.
struct SessionState {
    Phase phase = Phase::NotJoined;
    /// The room joined or replayed last.
    std::string room;
    bool isPresenter = false;
    bool isRecording = false;
    /// Whether there is a board to look at.
    bool showsBoard = false;
    /// The failure's code and text; empty unless the phase is `Failed`.
    std::string failure;

    /// Whether an operation is under way.
    bool isBusy() const;
    /// Whether there is something that can be left or given up.
    bool canBeLeft() const;
    /// One line for a person.
    std::string summary() const;
};

} // namespace tqclient
