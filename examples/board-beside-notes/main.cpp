// A GTK application with a board among its own widgets: notes and the people in the room beside it, a button for
// joining, cancelling and leaving above it. Every room has a view of its own; the widgets around it stay. Who closes
// the window leaves the room, since the room goes with the lesson.
//
// usage: board-beside-notes TOKEN [CERTIFICATES]

#include <TQWhiteBoardLib/Coroutines.h>
#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <TQWhiteBoardLib/gtk/NativeView.h>
#include <boost/describe.hpp>
#include <fstream>
#include <gtk/gtk.h>
#include <iostream>

struct Person {
    std::string uid;
    std::string name;
    std::string role;
};
BOOST_DESCRIBE_STRUCT(Person, (), (uid, name, role))

class Lesson {
public:
    explicit Lesson(std::string token)
        : m_token(std::move(token))
    {
    }

    void show(GtkApplication* application)
    {
        auto* window = gtk_application_window_new(application);
        gtk_window_set_default_size(GTK_WINDOW(window), 1100, 640);
        gtk_window_set_title(GTK_WINDOW(window), "Lesson");
        auto* header = gtk_header_bar_new();
        gtk_header_bar_pack_start(GTK_HEADER_BAR(header), m_button);
        gtk_window_set_titlebar(GTK_WINDOW(window), header);
        g_signal_connect_swapped(m_button, "clicked", G_CALLBACK(+[](Lesson* self) { self->joinOrLeave(); }), this);

        auto* panes = gtk_paned_new(GTK_ORIENTATION_HORIZONTAL);
        gtk_paned_set_start_child(GTK_PANED(panes), side());
        gtk_paned_set_resize_start_child(GTK_PANED(panes), FALSE);
        gtk_paned_set_shrink_start_child(GTK_PANED(panes), FALSE);
        gtk_paned_set_end_child(GTK_PANED(panes), m_place);
        gtk_window_set_child(GTK_WINDOW(window), panes);
        gtk_window_present(GTK_WINDOW(window));
        joinOrLeave();
    }

private:
    GtkWidget* side()
    {
        auto* notes = gtk_text_view_new();
        gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(notes), GTK_WRAP_WORD_CHAR);
        gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(notes)), "Notes of the lesson", -1);
        gtk_widget_set_vexpand(notes, TRUE);
        auto* side = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
        gtk_widget_set_size_request(side, 240, -1);
        for (auto* widget : { notes, m_people, m_status }) {
            gtk_widget_set_margin_start(widget, 12);
            gtk_widget_set_margin_end(widget, 12);
            gtk_box_append(GTK_BOX(side), widget);
        }
        for (auto* label : { m_people, m_status }) {
            gtk_label_set_xalign(GTK_LABEL(label), 0);
            gtk_label_set_wrap(GTK_LABEL(label), TRUE);
        }
        gtk_widget_set_margin_top(notes, 12);
        gtk_widget_set_margin_bottom(m_status, 12);
        return side;
    }

    void joinOrLeave()
    {
        if (m_room)
            m_room->leave();
        else
            join();
    }

    void join()
    {
        m_room.emplace();
        auto* board = tq::nativeView(*m_room->view());
        gtk_widget_set_hexpand(board, TRUE);
        gtk_box_append(GTK_BOX(m_place), board);
        gtk_button_set_label(GTK_BUTTON(m_button), "Cancel");
        m_room->setStateHandler(
            [this](tq::TQWBRoomState state, const tq::TQWBError* reason) { follow(state, reason); });
        m_room->enter({ .appKey = "demo", .token = m_token, .roomId = "lesson", .userId = "ada", .userName = "Ada" });
    }

    void follow(tq::TQWBRoomState state, const tq::TQWBError* reason)
    {
        gtk_widget_set_sensitive(m_button, state != tq::TQWBRoomState::Leaving);
        if (state == tq::TQWBRoomState::Over) {
            endRoom();
            say(reason ? "The room is over: " + reason->text : "You have left.");
        } else if (state == tq::TQWBRoomState::Shown) {
            gtk_button_set_label(GTK_BUTTON(m_button), "Leave");
            say("You are in the room.");
            followPeople();
        } else {
            say(std::string(nameOf(state)) + " ...");
        }
    }

    // Asks each page anew: one that was lost and is back knows nothing of what the one before was asked.
    void followPeople()
    {
        // Answers as long as the room lasts, whenever somebody comes or goes.
        m_room->view()->callHandler("room.events", [this](const tq::OptionalValue&) { m_listing = listPeople(); });
        m_listing = listPeople();
    }

    tq::Task<> listPeople()
    {
        const auto people = co_await tq::callHandler<std::vector<Person>>(*m_room->view(), "room.people");
        std::string text = people ? "In the room:" : people.error;
        for (const auto& person : people.value.value_or(std::vector<Person>()))
            text += "\n\u2022 " + person.name;
        gtk_label_set_text(GTK_LABEL(m_people), text.c_str());
        std::cout << text << std::endl;
    }

    // The view is still there while its end is told.
    void endRoom()
    {
        gtk_box_remove(GTK_BOX(m_place), tq::nativeView(*m_room->view()));
        m_listing.reset();
        m_room.reset();
        gtk_label_set_text(GTK_LABEL(m_people), "");
        gtk_button_set_label(GTK_BUTTON(m_button), "Join");
    }

    void say(const std::string& text)
    {
        gtk_label_set_text(GTK_LABEL(m_status), text.c_str());
        std::cout << text << std::endl;
    }

    std::string m_token;
    GtkWidget* m_button = gtk_button_new_with_label("Join");
    GtkWidget* m_people = gtk_label_new("");
    GtkWidget* m_status = gtk_label_new("");
    GtkWidget* m_place = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    std::optional<tq::TQWBRoom> m_room;
    // What is asked of the page. It goes with the lesson, wherever it has got to.
    std::optional<tq::Task<>> m_listing;
};

int main(int argc, char** argv)
{
    if (argc > 2) // a service with certificates of its own
        tq::NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            std::string(std::istreambuf_iterator<char>(std::ifstream(argv[2]).rdbuf()), {}));
    gtk_init();
    auto lesson = std::make_unique<Lesson>(argc > 1 ? argv[1] : "");
    auto* application = gtk_application_new("example.whiteboard.lesson", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(application, "activate",
        G_CALLBACK(+[](GtkApplication* started, Lesson* data) { data->show(started); }), lesson.get());
    const int status = g_application_run(G_APPLICATION(application), 1, argv);
    lesson.reset();
    g_object_unref(application);
    return status;
}
