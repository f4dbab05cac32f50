// The tests of an application's own class, with rooms of which the test says what becomes of them. They need no
// display, no network and no service; any framework for tests would do as well as these few lines.

#include "Classroom.h"

#include <TQWhiteBoardLib/testing/TQWBFakeRoom.h>
#include <array>
#include <cstddef>
#include <iostream>
#include <string_view>
#include <utility>

static int failures = 0;

static void expect(bool isSo, std::string_view what)
{
    if (isSo)
        return;
    ++failures;
    std::cerr << "not so: " << what << std::endl;
}

static void expectStatus(const Classroom& classroom, std::string_view status)
{
    expect(classroom.status() == status, "\"" + classroom.status() + "\" is \"" + std::string(status) + "\"");
}

// A class that gets its rooms from the test: the first, and one more if it asks for it.
struct Lesson {
    std::array<tq::TQWBFakeRoom, 2> rooms;
    std::size_t count = 0;
    Classroom classroom{ "token", [this] { return rooms.at(count++).room(); } };
};

static void theClassIsEnteredAndLeft()
{
    Lesson lesson;
    auto& classroom = lesson.classroom;
    auto& room = lesson.rooms[0];
    classroom.open("algebra");
    expect(room.entered() && room.entered()->roomId == "algebra", "the lesson's room is entered");
    expectStatus(classroom, "On the way ...");
    expect(classroom.isBusy(), "the user waits");

    room.become(tq::TQWBRoomState::Shown);
    expectStatus(classroom, "In class");
    expect(!classroom.isBusy(), "the user waits no more");

    room.become(tq::TQWBRoomState::Reconnecting);
    expectStatus(classroom, "The board is coming back ...");
    room.become(tq::TQWBRoomState::Shown);

    classroom.close();
    expectStatus(classroom, "Leaving ...");
    room.finish();
    expectStatus(classroom, "No lesson");
}

static void thePenIsGivenAndTaken()
{
    Lesson lesson;
    lesson.classroom.open("algebra");
    lesson.rooms[0].become(tq::TQWBRoomState::Shown);
    expect(!lesson.classroom.mayDraw(), "nobody begins with a pen");
    lesson.rooms[0].changePermission(tq::TQWBPermissionPresenter);
    expect(lesson.classroom.mayDraw(), "a presenter has a pen");
    lesson.rooms[0].changePermission(tq::TQWBPermissionViewer);
    expect(!lesson.classroom.mayDraw(), "a viewer has none");
}

static void failuresAreSaidInWords()
{
    using Category = tq::TQWBErrorCategory;
    const std::array<std::pair<tq::TQWBError, std::string_view>, 3> rows{ {
        { { Category::Token, tq::TQWBNaviCodeUnauthorized, "refused" }, "Please log in again." },
        { { Category::Service, 4001, "the room is full" }, "The school says: the room is full" },
        { { Category::Page, 404, "status 404" },
            "The lesson cannot be shown. Please tell the school's office: status 404" },
    } };
    for (const auto& [error, words] : rows) {
        Lesson lesson;
        lesson.classroom.open("algebra");
        lesson.rooms[0].finish(error);
        tq::TQWBFakeRoom::runMainLoop();
        expectStatus(lesson.classroom, words);
        expect(lesson.count == 1, "it is not tried again");
    }
}

// The class waits for its room in a coroutine, which goes on when the main loop is run.
static void whenTheNetworkFailsItIsTriedOnceMore()
{
    const tq::TQWBError offline{ tq::TQWBErrorCategory::Network, tq::TQWBNaviCodeRequestFailed, "no answer" };
    Lesson lesson;
    lesson.classroom.open("algebra");
    lesson.rooms[0].finish(offline);
    tq::TQWBFakeRoom::runMainLoop();
    expect(lesson.rooms[1].entered(), "it is tried again");
    expect(lesson.classroom.isBusy(), "the user still waits");

    lesson.rooms[1].finish(offline);
    tq::TQWBFakeRoom::runMainLoop();
    expectStatus(lesson.classroom, "The school cannot be reached. Is this computer online?");
    expect(lesson.count == lesson.rooms.size(), "it is not tried a third time");
}

static void whoeverGoesHasLeft()
{
    tq::TQWBFakeRoom room;
    {
        Classroom classroom("token", [&room] { return room.room(); });
        classroom.open("algebra");
        room.become(tq::TQWBRoomState::Shown);
    }
    expect(room.wasDropped(), "nobody is left in the room");
}

int main()
{
    theClassIsEnteredAndLeft();
    thePenIsGivenAndTaken();
    failuresAreSaidInWords();
    whenTheNetworkFailsItIsTriedOnceMore();
    whoeverGoesHasLeft();
    std::cout << failures << " failures" << std::endl;
    return failures ? 1 : 0;
}
