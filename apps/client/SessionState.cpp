#include "SessionState.h"

#include "Translation.h"

namespace tqclient {

bool SessionState::isBusy() const
{
    return phase == Phase::Joining || phase == Phase::OpeningReplay || phase == Phase::Leaving;
}

bool SessionState::canBeLeft() const
{
    return phase != Phase::Leaving && (showsBoard || phase == Phase::Joining || phase == Phase::OpeningReplay);
}

std::string SessionState::summary() const
{
    switch (phase) {
    case Phase::NotJoined:
        return _("Not joined");
    case Phase::Joining:
        return _("Joining…");
    case Phase::OpeningReplay:
        return _("Opening the replay…");
    case Phase::Loading:
        return _("Opening the board…");
    case Phase::Reconnecting:
        return _("Reconnecting…");
    case Phase::InRoom:
        if (isRecording)
            return isPresenter ? _("Presenter, recording") : _("Viewer, recording");
        return isPresenter ? _("Presenter") : _("Viewer");
    case Phase::Replaying:
        return _("Replay");
    case Phase::Leaving:
        return _("Leaving…");
    case Phase::Left:
        return formatted(_("Left room %s"), room.c_str());
    case Phase::Failed:
        return formatted(_("Failed: %s"), failure.c_str());
    }
    return {};
}

} // namespace tqclient
