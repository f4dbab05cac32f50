#include "TQWhiteBoardLib/TQWBRoom.h"

#include "LiveRoom.h"
#include <utility>

namespace tq {

std::string_view nameOf(TQWBRoomState state)
{
    switch (state) {
    case TQWBRoomState::Idle:
        return "idle";
    case TQWBRoomState::Finding:
        return "finding";
    case TQWBRoomState::Joining:
        return "joining";
    case TQWBRoomState::Loading:
        return "loading";
    case TQWBRoomState::Shown:
        return "shown";
    case TQWBRoomState::Reconnecting:
        return "reconnecting";
    case TQWBRoomState::Leaving:
        return "leaving";
    case TQWBRoomState::Over:
        return "over";
    }
    return {};
}

namespace {

class EndedRoom final : public RoomProgress {
public:
    static std::shared_ptr<EndedRoom> make()
    {
        auto room = std::make_shared<EndedRoom>();
        room->finish(std::nullopt);
        return room;
    }
    std::shared_ptr<TQWBWebView> view() const override { return nullptr; }

private:
    void begin(RoomRecord) override { }
    void tellService() override { }
    void giveUp() override { }
};

} // namespace

TQWBRoom::TQWBRoom(TQWBRoomOptions options)
    : m_progress(LiveRoom::make(std::move(options)))
{
}

TQWBRoom::TQWBRoom(std::shared_ptr<RoomProgress> progress)
    : m_progress(std::move(progress))
{
}

TQWBRoom::~TQWBRoom() { drop(); }

TQWBRoom::TQWBRoom(TQWBRoom&& other) noexcept
    : m_progress(std::exchange(other.m_progress, nullptr))
{
}

TQWBRoom& TQWBRoom::operator=(TQWBRoom&& other) noexcept
{
    auto progress = std::exchange(other.m_progress, nullptr);
    drop();
    m_progress = std::move(progress);
    return *this;
}

void TQWBRoom::drop()
{
    if (const auto progress = std::exchange(m_progress, nullptr))
        progress->drop();
}

// What was moved away leaves a room that is over.
RoomProgress& TQWBRoom::progress() const
{
    static auto& moved = *new std::shared_ptr<EndedRoom>(EndedRoom::make());
    return m_progress ? *m_progress : *moved;
}

TQWBRoomStep TQWBRoom::enter(const TQWBRoomConfig& config) { return progress().enter(config); }

TQWBRoomStep TQWBRoom::replay(const TQWBRecordConfig& config) { return progress().enter(config); }

TQWBRoomStep TQWBRoom::leave() { return progress().leave(); }

TQWBRoomState TQWBRoom::state() const { return progress().state(); }

const std::optional<TQWBError>& TQWBRoom::reason() const { return progress().reason(); }

void TQWBRoom::setStateHandler(StateHandler handler)
{
    if (m_progress)
        m_progress->stateHandler = std::move(handler);
}

std::shared_ptr<TQWBWebView> TQWBRoom::view() const { return progress().view(); }

TQWBRoom::Delegates& TQWBRoom::delegates() { return progress().delegates; }

} // namespace tq
