#include "TQWhiteBoardLib/testing/TQWBFakeRoom.h"

#include "RoomProgress.h"
#include "platform/Foundation/Dispatch.h"

#include <utility>

namespace tq {

class FakeProgress final : public RoomProgress {
public:
    std::shared_ptr<TQWBWebView> view() const override { return nullptr; }
    using RoomProgress::become;
    using RoomProgress::finish;

    /// Tells a delegate that has the method, as a page would: not when the room is over.
    template <class Protocol, class Task>
    void tell(WeakDelegate<Protocol> TQWBRoom::Delegates::*which, bool Protocol::Methods::*method, const Task& task)
    {
        const auto delegate = isOver() ? nullptr : (delegates.*which).respondingTo(method);
        if (delegate)
            runGuarded([&] { task(*delegate); });
    }

    std::optional<RoomRecord> record;
    bool wasDropped = false;

private:
    void begin(RoomRecord newRecord) override
    {
        record = std::move(newRecord);
        if (!refuses(*record))
            become(TQWBRoomState::Finding);
    }
    void tellService() override { }
    void giveUp() override { wasDropped = isDropped(); }
};

TQWBFakeRoom::TQWBFakeRoom()
    : m_progress(std::make_shared<FakeProgress>())
{
}

TQWBFakeRoom::~TQWBFakeRoom() = default;

TQWBRoom TQWBFakeRoom::room()
{
    return TQWBRoom(std::exchange(m_isTaken, true) ? nullptr : std::shared_ptr<RoomProgress>(m_progress));
}

const TQWBRoomConfig* TQWBFakeRoom::entered() const
{
    return m_progress->record ? std::get_if<TQWBRoomConfig>(&*m_progress->record) : nullptr;
}

const TQWBRecordConfig* TQWBFakeRoom::opened() const
{
    return m_progress->record ? std::get_if<TQWBRecordConfig>(&*m_progress->record) : nullptr;
}

bool TQWBFakeRoom::wasDropped() const { return m_progress->wasDropped; }

void TQWBFakeRoom::become(TQWBRoomState state)
{
    if (state == TQWBRoomState::Over)
        m_progress->finish(std::nullopt);
    else
        m_progress->become(state);
}

void TQWBFakeRoom::finish(std::optional<TQWBError> reason) { m_progress->finish(std::move(reason)); }

void TQWBFakeRoom::startRecording()
{
    m_progress->tell(&TQWBRoom::Delegates::record, &TQWBRecordProtocol::Methods::onWBRecordStart,
        [&](auto& delegate) { delegate.onWBRecordStart(); });
}

void TQWBFakeRoom::endRecording(const OptionalText& url)
{
    m_progress->tell(&TQWBRoom::Delegates::record, &TQWBRecordProtocol::Methods::onWBRecordEnd,
        [&](auto& delegate) { delegate.onWBRecordEnd(url); });
}

void TQWBFakeRoom::changePermission(NSInteger status)
{
    m_progress->tell(&TQWBRoom::Delegates::permission, &TQWBPermissionProtocol::Methods::onWBPermissionChange,
        [&](auto& delegate) { delegate.onWBPermissionChange(status); });
}

void TQWBFakeRoom::quit()
{
    m_progress->tell(&TQWBRoom::Delegates::roomStatus, &TQWBRoomStatusProtocol::Methods::onWBRoomQuit,
        [&](auto& delegate) { delegate.onWBRoomQuit(); });
    finish();
}

void TQWBFakeRoom::fail(const TQWBException& exception)
{
    m_progress->tell(&TQWBRoom::Delegates::roomStatus, &TQWBRoomStatusProtocol::Methods::onWBRoomException,
        [&](auto& delegate) { delegate.onWBRoomException(exception); });
    finish(TQWBError{ TQWBErrorCategory::Page, static_cast<NSUInteger>(exception.code), exception.msg.value_or("") });
}

void TQWBFakeRoom::capture(const std::shared_ptr<UIImage>& image)
{
    m_progress->tell(&TQWBRoom::Delegates::roomStatus, &TQWBRoomStatusProtocol::Methods::onWBCaptureEnd,
        [&](auto& delegate) { delegate.onWBCaptureEnd(image); });
}

void TQWBFakeRoom::runMainLoop() { runDueOnMain(); }

} // namespace tq
