#include "Classroom.h"

#include <utility>

class Classroom::Pen final : public tq::TQWBPermissionProtocol {
public:
    void onWBPermissionChange(tq::NSInteger status) override { isGiven = status == tq::TQWBPermissionPresenter; }

    bool isGiven = false;
};

static std::string wordsFor(const tq::TQWBError& error)
{
    switch (error.category) {
    case tq::TQWBErrorCategory::Network:
        return "The school cannot be reached. Is this computer online?";
    case tq::TQWBErrorCategory::Token:
        return "Please log in again.";
    case tq::TQWBErrorCategory::Service:
        return "The school says: " + error.text;
    case tq::TQWBErrorCategory::Cancelled:
        return "No lesson";
    default:
        return "The lesson cannot be shown. Please tell the school's office: " + error.text;
    }
}

Classroom::Classroom(std::string token, RoomMaker makeRoom)
    : m_token(std::move(token))
    , m_makeRoom(std::move(makeRoom))
    , m_pen(std::make_shared<Pen>())
{
}

void Classroom::open(const std::string& lesson) { m_visit.emplace(visit(lesson)); }

void Classroom::close()
{
    if (m_room)
        m_room->leave();
}

bool Classroom::isBusy() const
{
    return m_room && m_room->state() != tq::TQWBRoomState::Shown && m_room->state() != tq::TQWBRoomState::Over;
}

bool Classroom::mayDraw() const { return m_room && m_room->state() == tq::TQWBRoomState::Shown && m_pen->isGiven; }

tq::Task<> Classroom::visit(std::string lesson)
{
    const tq::TQWBRoomConfig config{
        .appKey = "school", .token = m_token, .roomId = lesson, .userId = "ada", .userName = "Ada"
    };
    constexpr int most = 2;
    for (int count = 1; count <= most; ++count) {
        m_room.emplace(m_makeRoom()); // each is entered once
        m_room->setPermissionDelegate(m_pen);
        m_room->setStateHandler(
            [this](tq::TQWBRoomState state, const tq::TQWBError* reason) { follow(state, reason); });
        const auto entered = co_await m_room->enter(config);
        if (entered || entered.error->category != tq::TQWBErrorCategory::Network)
            break;
    }
}

void Classroom::follow(tq::TQWBRoomState state, const tq::TQWBError* reason)
{
    switch (state) {
    case tq::TQWBRoomState::Shown:
        m_status = "In class";
        break;
    case tq::TQWBRoomState::Reconnecting:
        m_status = "The board is coming back ...";
        break;
    case tq::TQWBRoomState::Leaving:
        m_status = "Leaving ...";
        break;
    case tq::TQWBRoomState::Over:
        m_status = reason ? wordsFor(*reason) : "No lesson";
        break;
    default:
        m_status = "On the way ...";
    }
}
