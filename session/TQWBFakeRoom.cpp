#include "TQWhiteBoardLib/testing/TQWBFakeRoom.h"

#include "RoomProgress.h"
#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "platform/Foundation/Dispatch.h"

#include <utility>

namespace tq {

class FakeProgress final : public RoomProgress {
public:
    std::shared_ptr<TQWBWebView> view() const override { return nullptr; }
    using RoomProgress::become;
    using RoomProgress::finish;

    std::optional<RoomRecord> record;
    bool wasDropped = false;

private:
    void begin(RoomRecord newRecord) override
    {
        record = std::move(newRecord);
        const auto* room = std::get_if<TQWBRoomConfig>(&*record);
        if (!(room ? TQWhiteBoard::invaliedRoomConfig(room)
                   : TQWhiteBoard::invaliedRecordConfig(std::get_if<TQWBRecordConfig>(&*record))))
            finish(TQWBError{ TQWBErrorCategory::Usage, TQWBSessionCodeInvalidConfig, "config is invalid" });
        else
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
    if (const auto delegate = m_progress->delegates.record.respondingTo(&TQWBRecordProtocol::Methods::onWBRecordStart))
        delegate->onWBRecordStart();
}

void TQWBFakeRoom::endRecording(const OptionalText& url)
{
    if (const auto delegate = m_progress->delegates.record.respondingTo(&TQWBRecordProtocol::Methods::onWBRecordEnd))
        delegate->onWBRecordEnd(url);
}

void TQWBFakeRoom::changePermission(NSInteger status)
{
    if (const auto delegate
        = m_progress->delegates.permission.respondingTo(&TQWBPermissionProtocol::Methods::onWBPermissionChange))
        delegate->onWBPermissionChange(status);
}

void TQWBFakeRoom::quit()
{
    if (const auto delegate
        = m_progress->delegates.roomStatus.respondingTo(&TQWBRoomStatusProtocol::Methods::onWBRoomQuit))
        delegate->onWBRoomQuit();
    finish();
}

void TQWBFakeRoom::fail(const TQWBException& exception)
{
    if (const auto delegate
        = m_progress->delegates.roomStatus.respondingTo(&TQWBRoomStatusProtocol::Methods::onWBRoomException))
        delegate->onWBRoomException(exception);
    finish(TQWBError{ TQWBErrorCategory::Page, static_cast<NSUInteger>(exception.code), exception.msg.value_or("") });
}

void TQWBFakeRoom::capture(const std::shared_ptr<UIImage>& image)
{
    if (const auto delegate
        = m_progress->delegates.roomStatus.respondingTo(&TQWBRoomStatusProtocol::Methods::onWBCaptureEnd))
        delegate->onWBCaptureEnd(image);
}

void TQWBFakeRoom::runMainLoop() { runDueOnMain(); }

} // namespace tq
