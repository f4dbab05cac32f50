#include "Room.h"

#include "RandomText.h"
#include "RequestBody.h"
#include "platform/Foundation/JSONWriter.h"

#include <algorithm>
#include <iostream>

namespace tq::conference {

namespace json = boost::json;

namespace {

constexpr std::size_t s_boardMessage = 48U << 10U;
constexpr std::size_t s_bytesOfPoint = 20;

/// @param name what a page that speaks other languages knows the text by.
void notify(Member& member, std::string_view name, std::string_view text)
{
    member.send(tq::writtenJSON(json::object{ { "type", "notice" }, { "name", name }, { "text", text } }));
}

json::object strokeEvent(const char* type, const std::string& uid, std::int64_t id)
{
    return { { "type", type }, { "uid", uid }, { "id", id } };
}

} // namespace

Room::Room(std::string name, const RecordingStore& store)
    : m_name(std::move(name))
    , m_store(store)
    , m_emptySince(Clock::now())
{
}

Room::~Room() { finishRecording(); }

std::set<std::string> Room::uids() const
{
    std::set<std::string> uids;
    for (const auto& [uid, member] : m_members)
        uids.insert(uid);
    return uids;
}

unsigned Room::freeSeat() const
{
    unsigned seat = 0;
    while (std::ranges::any_of(m_members, [&](const auto& entry) { return entry.second->seat() == seat; }))
        ++seat;
    return seat;
}

void Room::enter(const std::shared_ptr<Member>& member)
{
    if (const auto old = m_members.find(member->uid()); old != m_members.end()) {
        const auto replaced = old->second;
        endStroke(*replaced);
        m_members.erase(old);
        replaced->dismiss({ Refusal::s_replaced, "the same user has entered the room from another place" });
    }
    for (const auto& stroke : m_strokes) {
        if (stroke->uid == member->uid())
            member->lastStroke = std::max(member->lastStroke, stroke->id);
    }
    m_members[member->uid()] = member;
    m_emptySince.reset();
    member->send(tq::writtenJSON(json::object{ { "type", "welcome" }, { "mode", "live" }, { "room", m_name },
        { "uid", member->uid() }, { "lastStroke", member->lastStroke }, { "recording", m_recording.has_value() } }));
    tellMembers();
    sendBoard(*member);
    member->listen([this](Member& sender, std::string_view text) { receive(sender, text); },
        [this](Member& gone) { leave(gone); });
}

void Room::sendBoard(Member& member) const
{
    json::array strokes;
    std::size_t size = 0;
    const auto flush = [&] {
        if (!strokes.empty())
            member.send(tq::writtenJSON(json::object{ { "type", "board" }, { "strokes", std::move(strokes) } }));
        strokes = {};
        size = 0;
    };
    for (const auto& stroke : m_strokes) {
        strokes.push_back(stroke->toJson());
        size += stroke->points.size() * s_bytesOfPoint / 2 + 2 * User::s_longestUid;
        if (size > s_boardMessage)
            flush();
    }
    flush();
    member.send(R"({"type":"ready"})");
}

bool Room::quit(const std::string& uid, std::shared_ptr<void> held)
{
    const auto found = m_members.find(uid);
    if (found == m_members.end())
        return false;
    const auto member = found->second;
    member->release(std::move(held));
    leave(*member);
    return true;
}

void Room::leave(Member& member)
{
    const auto found = m_members.find(member.uid());
    if (found == m_members.end() || found->second.get() != &member)
        return;
    endStroke(member);
    const auto keep = found->second;
    m_members.erase(found);
    if (m_members.empty()) {
        m_emptySince = Clock::now();
        finishRecording();
    }
    tellMembers();
}

void Room::sweep(Clock::time_point now)
{
    const auto members = m_members;
    for (const auto& [uid, member] : members) {
        if (now < member->key().validUntil)
            continue;
        member->dismiss({ Refusal::s_timeOver, "the time in this room is over" });
        leave(*member);
    }
    if (m_recording && m_recording->isFull(now))
        finishRecording();
}

void Room::receive(Member& member, std::string_view text)
{
    try {
        std::visit([&](const auto& message) { handle(member, message); }, LiveMessage::parse(text));
    } catch (const Refusal& refusal) {
        std::cerr << "room socket closed: " << refusal.desc << std::endl;
        member.dismiss({ Refusal::s_badMessage, refusal.desc });
        leave(member);
    }
}

bool Room::mayControl(Member& member) const
{
    if (member.role() == Role::Presenter)
        return true;
    notify(member, "notPresenter", "Only a presenter may do that.");
    return false;
}

void Room::handle(Member& member, const LiveMessage::Begin& begin)
{
    Refusal::require(begin.id > member.lastStroke, "id must be higher than that of the stroke before");
    endStroke(member);
    member.lastStroke = begin.id;
    const bool isFull = m_strokes.size() >= s_mostStrokes || m_points >= s_mostPoints;
    const bool isAllowed = mayControl(member);
    if (!isAllowed || isFull) {
        if (isAllowed)
            notify(member, "boardFull", "The board is full. Clear it to draw on.");
        member.send(tq::writtenJSON(strokeEvent("remove", member.uid(), begin.id)));
        return;
    }
    member.stroke = std::make_shared<Stroke>(Stroke{ member.uid(), begin.id, begin.color, begin.width, begin.points });
    m_strokes.push_back(member.stroke);
    m_points += begin.points.size() / 2;
    auto event = member.stroke->toJson();
    event["type"] = "begin";
    draw(event);
}

void Room::handle(Member& member, const LiveMessage::Points& points)
{
    if (!member.stroke || member.stroke->id != points.id) {
        // The stroke may have been cleared away while the page was still drawing it.
        Refusal::require(points.id <= member.lastStroke, "points of a stroke that was not begun");
        return;
    }
    auto& all = member.stroke->points;
    Refusal::require((all.size() + points.points.size()) / 2 <= Stroke::s_mostPoints, "too many points in one stroke");
    all.insert(all.end(), points.points.begin(), points.points.end());
    m_points += points.points.size() / 2;
    auto event = strokeEvent("points", member.uid(), points.id);
    event["points"] = json::array(points.points.begin(), points.points.end());
    draw(event, &member);
}

void Room::handle(Member& member, const LiveMessage::End& end)
{
    Refusal::require(end.id <= member.lastStroke, "end of a stroke that was not begun");
    if (member.stroke && member.stroke->id == end.id)
        endStroke(member);
}

void Room::endStroke(Member& member)
{
    if (!member.stroke)
        return;
    draw(strokeEvent("end", member.uid(), member.stroke->id), &member);
    member.stroke.reset();
}

void Room::handle(Member& member, const LiveMessage::Undo&)
{
    if (!mayControl(member))
        return;
    const auto last = std::find_if(
        m_strokes.rbegin(), m_strokes.rend(), [&](const auto& stroke) { return stroke->uid == member.uid(); });
    if (last == m_strokes.rend())
        return;
    const auto stroke = *last;
    if (member.stroke == stroke)
        member.stroke.reset();
    m_points -= stroke->points.size() / 2;
    m_strokes.erase(std::next(last).base());
    draw(strokeEvent("remove", stroke->uid, stroke->id));
}

void Room::handle(Member& member, const LiveMessage::Clear&)
{
    if (!mayControl(member))
        return;
    for (const auto& [uid, drawing] : m_members)
        drawing->stroke.reset();
    m_strokes.clear();
    m_points = 0;
    draw({ { "type", "clear" } });
}

void Room::handle(Member& member, const LiveMessage::Record& record)
{
    if (!mayControl(member) || record.on == m_recording.has_value())
        return;
    if (record.on)
        startRecording(member);
    else
        finishRecording();
}

void Room::handle(Member& member, const LiveMessage::ChangeRole& change)
{
    if (!mayControl(member))
        return;
    const auto found = m_members.find(change.uid);
    // A room keeps a presenter: nobody steps down, others ask one to.
    if (found == m_members.end())
        return notify(member, "personGone", "That person has left.");
    if (found->second.get() == &member)
        return notify(member, "notYourself", "Ask another presenter to do that.");
    if (change.role == Role::Viewer)
        endStroke(*found->second);
    found->second->setRole(change.role);
    tellMembers();
}

void Room::draw(const json::object& event, const Member* except)
{
    const auto text = tq::writtenJSON(event);
    if (m_recording)
        m_recording->add(event, text.size(), Clock::now());
    tellAll(text, except);
}

void Room::tellAll(std::string_view text, const Member* except)
{
    for (const auto& [uid, member] : m_members) {
        if (member.get() != except)
            member->send(text);
    }
}

void Room::tellMembers()
{
    json::array list;
    for (const auto& [uid, member] : m_members) {
        list.push_back(json::object{ { "uid", uid }, { "name", member->name() }, { "role", nameOf(member->role()) },
            { "seat", member->seat() } });
    }
    tellAll(tq::writtenJSON(json::object{ { "type", "members" }, { "members", std::move(list) } }));
}

void Room::startRecording(const Member& member)
{
    json::array board;
    for (const auto& stroke : m_strokes)
        board.push_back(stroke->toJson());
    m_recordingHost = member.host();
    m_recording.emplace(randomText(), m_name, std::move(board), m_points * s_bytesOfPoint, Clock::now());
    tellAll(R"({"type":"recording","on":true})");
}

void Room::finishRecording()
{
    if (!m_recording)
        return;
    json::object message{ { "type", "recording" }, { "on", false }, { "url", nullptr } };
    if (m_store.save(m_recording->id(), m_recording->finish(Clock::now())))
        message["url"] = "https://" + m_recordingHost + "/recordings/" + m_recording->id() + ".json";
    m_recording.reset();
    tellAll(tq::writtenJSON(message));
}

} // namespace tq::conference
