#pragma once

#include "LiveMessage.h"
#include "Member.h"
#include "Recording.h"
#include "Stroke.h"

#include <boost/json.hpp>

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace tq::conference {

/// A live room: its members and its board.
///
/// The protocol of wss://HOST/conference/live?key=KEY. Each message is one JSON object in one text frame. A stroke is
/// named by its user's "uid" and an "id" that the page counts upwards from "lastStroke"; points are a flat list
/// x,y,x,y,... of numbers from 0 to 1 across the board; a width is in thousandths of the board's width; a colour is a
/// name of the palette ("board" rubs out).
///
/// From the page (at most 64 KiB; what does not fit this list closes the socket with code 1008):
///     {"type":"begin","id":N,"color":C,"width":W,"points":[...]}     begins a stroke             presenter
///     {"type":"points","id":N,"points":[...]}  {"type":"end","id":N} continues, ends it
///     {"type":"undo"}                                                removes one's last stroke   presenter
///     {"type":"clear"}                                               removes all strokes         presenter
///     {"type":"record","on":true}                                    starts, stops a recording   presenter
///     {"type":"role","uid":U,"role":"presenter"}                     changes another's role      presenter
///
/// To the page, on entering:
///     {"type":"welcome","mode":"live","room":R,"uid":U,"lastStroke":N,"recording":false}
///     {"type":"members","members":[{"uid":U,"name":N,"role":"viewer","seat":S}...]}  (again at every change)
///     {"type":"board","strokes":[{"uid","id","color","width","points"}...]}  any number of them, then {"type":"ready"}
/// and then as it happens:
///     "begin" and "end" as above and "points", with "uid"; the page's own "begin" comes back too: it fixes the order
///     {"type":"remove","uid":U,"id":N}  {"type":"clear"}
///     {"type":"recording","on":false,"url":"https://HOST/recordings/ID.json"}  ("url" only at the end, null: not
///     saved)
///     {"type":"notice","text":T}       something that was asked for was not done
///     {"type":"quit"}                  the user has left the room; the socket closes
///     {"type":"failed","code":N,"msg":T}  the page's time in the room is over; the socket closes
///
/// With the key of a recording the page gets {"type":"welcome","mode":"replay","room":R,"source":"/recordings/ID.json"}
/// alone, and the socket closes.
class Room {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t s_mostStrokes = 4000;
    static constexpr std::size_t s_mostPoints = 200000;

    Room(std::string name, const RecordingStore&);
    ~Room();
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    /// Lets the member in and brings its page up to date. A member of the same uid is dismissed first.
    void enter(const std::shared_ptr<Member>&);

    /// Sends the user away as one who has left; false if there is no such member. `held` is kept until the user's page
    /// has taken note.
    bool quit(const std::string& uid, std::shared_ptr<void> held);

    /// Dismisses those whose time is over, and ends a recording that is full.
    void sweep(Clock::time_point now);

    std::set<std::string> uids() const;
    unsigned freeSeat() const;
    /// Since when nobody is here; absent while somebody is.
    std::optional<Clock::time_point> emptySince() const { return m_emptySince; }

private:
    void receive(Member&, std::string_view text);
    void handle(Member&, const LiveMessage::Begin&);
    void handle(Member&, const LiveMessage::Points&);
    void handle(Member&, const LiveMessage::End&);
    void handle(Member&, const LiveMessage::Undo&);
    void handle(Member&, const LiveMessage::Clear&);
    void handle(Member&, const LiveMessage::Record&);
    void handle(Member&, const LiveMessage::ChangeRole&);

    void leave(Member&);
    bool mayControl(Member&) const;
    void endStroke(Member&);
    void draw(const boost::json::object& event, const Member* except = nullptr);
    void tellAll(std::string_view json, const Member* except = nullptr);
    void tellMembers();
    void sendBoard(Member&) const;
    void startRecording(const Member&);
    void finishRecording();

    std::string m_name;
    const RecordingStore& m_store;
    std::map<std::string, std::shared_ptr<Member>> m_members;
    std::list<std::shared_ptr<Stroke>> m_strokes;
    std::size_t m_points = 0;
    std::optional<Recording> m_recording;
    std::string m_recordingHost;
    std::optional<Clock::time_point> m_emptySince;
};

} // namespace tq::conference
