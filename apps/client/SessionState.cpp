#include "SessionState.h"

namespace tqclient {

bool SessionState::isBusy() const
{
    return phase == Phase::Joining || phase == Phase::OpeningReplay || phase == Phase::Leaving;
}

std::string SessionState::summary() const
{
    switch (phase) {
    case Phase::NotJoined:
        return "Not joined";
    case Phase::Joining:
        return "Joining…";
    case Phase::OpeningReplay:
        return "Opening the replay…";
    case Phase::InRoom:
        return std::string(isRecording ? "Recording in room " : "In room ") + room
            + (isPresenter ? " as presenter" : " as viewer");
    case Phase::Replaying:
        return "Replaying room " + room;
    case Phase::Leaving:
        return "Leaving…";
    case Phase::Left:
        return "Left room " + room;
    case Phase::Failed:
        return "Failed " + failure;
    }
    return {};
}

} // namespace tqclient
