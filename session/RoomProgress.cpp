#include "RoomProgress.h"

#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "platform/Foundation/Dispatch.h"

#include <utility>

namespace tq {

/// The end of a step, which may come before or after somebody waits for it.
struct TQWBRoomStep::Ending : std::enable_shared_from_this<Ending> {
    std::optional<TQWBRoomOutcome> outcome;
    Callback callback;
    // By a coroutine, which looks after its own lifetime.
    bool isAwaited = false;
    bool isDropped = false;

    void end(TQWBRoomOutcome newOutcome)
    {
        if (outcome)
            return;
        outcome = std::move(newOutcome);
        tellLater();
    }
    void tellLater()
    {
        if (!outcome || !callback || (isDropped && !isAwaited))
            return;
        dispatchToMain([self = shared_from_this()] {
            if (const auto told = std::exchange(self->callback, nullptr))
                told(*self->outcome);
        });
    }
};

namespace {

TQWBError cancelled()
{
    return { TQWBErrorCategory::Cancelled, TQWBRoomCodeCancelled, "The room was left before it was shown." };
}

} // namespace

TQWBRoomStep::TQWBRoomStep(std::shared_ptr<Ending> ending)
    : m_ending(std::move(ending))
{
}

void TQWBRoomStep::then(Callback callback) const
{
    m_ending->isAwaited = false;
    m_ending->callback = std::move(callback);
    m_ending->tellLater();
}

void TQWBRoomStep::await(Callback callback) const
{
    m_ending->isAwaited = true;
    m_ending->callback = std::move(callback);
    m_ending->tellLater();
}

std::shared_ptr<TQWBRoomStep::Ending> RoomProgress::newEnding()
{
    auto ending = std::make_shared<TQWBRoomStep::Ending>();
    std::erase_if(m_endings, [](const auto& weak) { return weak.expired(); });
    m_endings.push_back(ending);
    return ending;
}

TQWBRoomStep RoomProgress::enter(RoomRecord record)
{
    const auto self = shared_from_this();
    auto ending = newEnding();
    if (m_entering || m_state != TQWBRoomState::Idle) {
        ending->end({ TQWBError{
            TQWBErrorCategory::Usage, TQWBRoomCodeUsed, "This room was entered before: each is entered once." } });
        return TQWBRoomStep(std::move(ending));
    }
    m_entering = ending;
    begin(std::move(record));
    return TQWBRoomStep(std::move(ending));
}

TQWBRoomStep RoomProgress::leave()
{
    const auto self = shared_from_this();
    auto ending = newEnding();
    TQWBRoomStep step(ending);
    switch (m_state) {
    case TQWBRoomState::Over:
        ending->end({});
        break;
    case TQWBRoomState::Idle:
        finish(std::nullopt);
        ending->end({});
        break;
    case TQWBRoomState::Finding:
    case TQWBRoomState::Joining:
        finish(cancelled());
        ending->end({});
        break;
    case TQWBRoomState::Leaving:
        m_leaving.push_back(std::move(ending));
        break;
    case TQWBRoomState::Loading:
    case TQWBRoomState::Shown:
    case TQWBRoomState::Reconnecting:
        m_leaving.push_back(std::move(ending));
        become(TQWBRoomState::Leaving);
        if (m_state == TQWBRoomState::Leaving)
            tellService();
        break;
    }
    return step;
}

void RoomProgress::drop()
{
    const auto self = shared_from_this();
    stateHandler = nullptr;
    for (const auto& weak : std::exchange(m_endings, {})) {
        // A coroutine hears of what has ended before; without its callback it goes on, cancelled.
        const auto ending = weak.lock();
        if (!ending)
            continue;
        ending->isDropped = true;
        if (!ending->isAwaited || !ending->outcome)
            ending->callback = nullptr;
    }
    m_entering.reset();
    m_leaving.clear();
    if (!isOver()) {
        m_isDropped = true;
        m_state = TQWBRoomState::Over;
        giveUp();
    }
}

bool RoomProgress::refuses(const RoomRecord& record)
{
    if (std::visit([](const auto& config) { return isUsable(config); }, record))
        return false;
    finish(TQWBError{ TQWBErrorCategory::Usage, TQWBSessionCodeInvalidConfig, "config is invalid" });
    return true;
}

void RoomProgress::become(TQWBRoomState state)
{
    if (isOver() || m_state == state)
        return;
    m_state = state;
    if (state == TQWBRoomState::Shown && m_entering)
        m_entering->end({});
    tell();
}

void RoomProgress::finish(std::optional<TQWBError> reason)
{
    if (isOver())
        return;
    const auto self = shared_from_this();
    const bool wasLeaving = m_state == TQWBRoomState::Leaving;
    m_state = TQWBRoomState::Over;
    m_reason = std::move(reason);
    if (m_entering)
        m_entering->end({ m_reason ? m_reason : cancelled() });
    for (const auto& ending : std::exchange(m_leaving, {}))
        ending->end({ wasLeaving ? m_reason : std::nullopt });
    tell();
    giveUp();
}

// The handler may be replaced, and the room dropped, while it is told.
void RoomProgress::tell()
{
    const auto self = shared_from_this();
    if (const auto handler = stateHandler)
        runGuarded([&] { handler(m_state, m_reason ? &*m_reason : nullptr); });
}

} // namespace tq
