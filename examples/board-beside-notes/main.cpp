// A GTK application with a board among its own widgets: notes and the people in the room beside it, a button for
// joining and leaving above it. Every room has a view of its own; the widgets around it stay.
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

class Lesson final : public tq::TQWBRoomStatusProtocol, public std::enable_shared_from_this<Lesson> {
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

    // The room is over; whatever was still under way in it ends with it.
    void onWBRoomQuit() override { endRoom("You have left."); }
    void onWBRoomException(const tq::TQWBException& exception) override
    {
        endRoom("The room has ended: " + exception.msg.value_or("no reason given"));
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
        gtk_widget_set_sensitive(m_button, FALSE);
        m_visit = m_board ? leave() : join();
    }

    tq::Task<> join()
    {
        say("Joining ...");
        m_view = tq::TQWBWebView::initWithFrame({ 0, 0, 860, 600 }, nullptr);
        const auto self = shared_from_this();
        m_view->setRoomStatusDelegate(self);
        gtk_widget_set_hexpand(tq::nativeView(*m_view), TRUE);
        gtk_box_append(GTK_BOX(m_place), tq::nativeView(*m_view));
        m_board = tq::TQWhiteBoard::initWithWebView(m_view);

        tq::TQWBRoomConfig room{
            .appKey = "demo", .token = m_token, .roomId = "lesson", .userId = "ada", .userName = "Ada"
        };
        const auto joined = co_await tq::join(*m_board, std::make_shared<tq::TQWBRoomConfig>(room));
        if (!joined) {
            endRoom(joined.text.value_or("no reason given"));
            co_return;
        }
        say("You are in the room.");
        gtk_button_set_label(GTK_BUTTON(m_button), "Leave");
        gtk_widget_set_sensitive(m_button, TRUE);
        // Answers as long as the room lasts, whenever somebody comes or goes.
        m_view->callHandler("room.events", [self = weak_from_this()](const tq::OptionalValue&) {
            if (const auto lesson = self.lock(); lesson && lesson->m_view)
                lesson->m_listing = lesson->listPeople();
        });
        m_listing = listPeople();
    }

    tq::Task<> leave()
    {
        const auto left = co_await tq::quit(*m_board);
        if (left) {
            endRoom("You have left.");
        } else {
            say(left.text.value_or("no reason given"));
            gtk_widget_set_sensitive(m_button, TRUE);
        }
    }

    tq::Task<> listPeople()
    {
        const auto people = co_await tq::callHandler<std::vector<Person>>(*m_view, "room.people");
        std::string text = people ? "In the room:" : people.error;
        for (const auto& person : people.value.value_or(std::vector<Person>()))
            text += "\n\u2022 " + person.name;
        gtk_label_set_text(GTK_LABEL(m_people), text.c_str());
        std::cout << text << std::endl;
    }

    void endRoom(const std::string& text)
    {
        if (m_view)
            gtk_box_remove(GTK_BOX(m_place), tq::nativeView(*m_view));
        m_listing.reset();
        m_view.reset();
        m_board.reset();
        gtk_label_set_text(GTK_LABEL(m_people), "");
        gtk_button_set_label(GTK_BUTTON(m_button), "Join");
        gtk_widget_set_sensitive(m_button, TRUE);
        say(text);
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
    std::shared_ptr<tq::TQWBWebView> m_view;
    std::shared_ptr<tq::TQWhiteBoard> m_board;
    // What is under way. It goes with the lesson, wherever it has got to.
    std::optional<tq::Task<>> m_visit;
    std::optional<tq::Task<>> m_listing;
};

int main(int argc, char** argv)
{
    if (argc > 2) // a service with certificates of its own
        tq::NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            std::string(std::istreambuf_iterator<char>(std::ifstream(argv[2]).rdbuf()), {}));
    gtk_init();
    auto lesson = std::make_shared<Lesson>(argc > 1 ? argv[1] : "");
    auto* application = gtk_application_new("example.whiteboard.lesson", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(application, "activate",
        G_CALLBACK(+[](GtkApplication* started, Lesson* data) { data->show(started); }), lesson.get());
    const int status = g_application_run(G_APPLICATION(application), 1, argv);
    lesson.reset();
    g_object_unref(application);
    return status;
}
