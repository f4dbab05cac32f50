// A GTK application with a board among its own widgets: notes and the people in the room beside it, buttons for joining
// and leaving above it. Every room gets a view of its own; the widgets stay.
//
// usage: board-beside-notes TOKEN [CERTIFICATES]

#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <TQWhiteBoardLib/gtk/NativeView.h>
#include <fstream>
#include <gtk/gtk.h>
#include <iostream>

namespace {

class Application final : public tq::TQWBRoomStatusProtocol, public std::enable_shared_from_this<Application> {
public:
    explicit Application(std::string token)
        : m_token(std::move(token))
    {
    }

    void show(GtkApplication* application)
    {
        m_window = gtk_application_window_new(application);
        gtk_window_set_default_size(GTK_WINDOW(m_window), 1100, 640);
        gtk_window_set_title(GTK_WINDOW(m_window), "Lesson");
        auto* header = gtk_header_bar_new();
        gtk_header_bar_pack_start(GTK_HEADER_BAR(header), m_join);
        gtk_window_set_titlebar(GTK_WINDOW(m_window), header);
        g_signal_connect_swapped(m_join, "clicked", G_CALLBACK(+[](Application* self) { self->joinOrLeave(); }), this);

        auto* notes = gtk_text_view_new();
        gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(notes), GTK_WRAP_WORD_CHAR);
        gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(notes)), "Notes of the lesson", -1);
        gtk_widget_set_vexpand(notes, TRUE);
        auto* side = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
        gtk_widget_set_size_request(side, 240, -1);
        for (auto* widget : { notes, m_people, m_status })
            gtk_box_append(GTK_BOX(side), widget);
        for (auto* label : { m_people, m_status }) {
            gtk_label_set_xalign(GTK_LABEL(label), 0);
            gtk_label_set_wrap(GTK_LABEL(label), TRUE);
            gtk_widget_set_margin_start(label, 12);
        }
        gtk_widget_set_margin_bottom(m_status, 12);

        auto* panes = gtk_paned_new(GTK_ORIENTATION_HORIZONTAL);
        gtk_paned_set_start_child(GTK_PANED(panes), side);
        gtk_paned_set_resize_start_child(GTK_PANED(panes), FALSE);
        gtk_paned_set_shrink_start_child(GTK_PANED(panes), FALSE);
        gtk_paned_set_end_child(GTK_PANED(panes), m_place);
        gtk_window_set_child(GTK_WINDOW(m_window), panes);
        gtk_window_present(GTK_WINDOW(m_window));
        joinOrLeave();
    }

    // The room's view is spent from now on; its widget goes with it.
    void onWBRoomQuit() override { endRoom("You have left."); }
    void onWBRoomException(const tq::TQWBException& exception) override
    {
        endRoom("The room has ended: " + exception.msg.value_or("without a reason"));
    }

private:
    void joinOrLeave()
    {
        gtk_widget_set_sensitive(m_join, FALSE);
        if (m_board)
            m_board->quitWhiteBoard([] {}, onMain([](Application& self, const std::string& text) {
                self.say(text);
                gtk_widget_set_sensitive(self.m_join, TRUE);
            }));
        else
            join();
    }

    void join()
    {
        say("Joining ...");
        m_view = tq::TQWBWebView::initWithFrame({ 0, 0, 860, 600 }, nullptr);
        m_view->setRoomStatusDelegate(shared_from_this());
        gtk_widget_set_hexpand(tq::nativeView(*m_view), TRUE);
        gtk_box_append(GTK_BOX(m_place), tq::nativeView(*m_view));
        m_board = tq::TQWhiteBoard::initWithWebView(m_view);
        tq::TQWBRoomConfig room{
            .appKey = "demo", .token = m_token, .roomId = "lesson", .userId = "ada", .userName = "Ada"
        };
        const auto joined = onMain([](Application& self, const std::string&) {
            self.say("Draw!");
            gtk_button_set_label(GTK_BUTTON(self.m_join), "Leave");
            gtk_widget_set_sensitive(self.m_join, TRUE);
        });
        m_board->joinWithConfig(
            std::make_shared<tq::TQWBRoomConfig>(room), [joined] { joined(0, ""); },
            onMain([](Application& self, const std::string& text) { self.endRoom(text); }));
        // Answers as long as the room lasts: whoever comes and goes.
        m_view->callHandler("room.events", [self = weak_from_this()](const tq::OptionalValue&) {
            if (const auto application = self.lock())
                application->listPeople();
        });
        listPeople();
    }

    // Callbacks of an operation come on other threads, widgets live on the main one.
    tq::TQWBFailure onMain(void (*then)(Application&, const std::string& text))
    {
        return [self = weak_from_this(), then](tq::NSUInteger, const tq::OptionalText& text) {
            auto* call = new std::function<void()>([self, then, text = text.value_or("")] {
                if (const auto application = self.lock())
                    then(*application, text);
            });
            g_idle_add_once(
                +[](gpointer data) {
                    const std::unique_ptr<std::function<void()>> owned(static_cast<std::function<void()>*>(data));
                    (*owned)();
                },
                call);
        };
    }

    void listPeople()
    {
        if (!m_view)
            return;
        m_view->callHandler("room.people", [self = weak_from_this()](const tq::OptionalValue& people) {
            const auto application = self.lock();
            const auto* list = people ? people->if_array() : nullptr;
            if (!application || !list)
                return;
            std::string text = "In the room:";
            for (const auto& person : *list) {
                const auto* fields = person.if_object();
                const auto* name = fields ? fields->if_contains("name") : nullptr;
                if (name && name->is_string())
                    text += "\n\u2022 " + std::string(name->get_string());
            }
            gtk_label_set_text(GTK_LABEL(application->m_people), text.c_str());
            std::cout << text << std::endl;
        });
    }

    void endRoom(const std::string& text)
    {
        if (m_view)
            gtk_box_remove(GTK_BOX(m_place), tq::nativeView(*m_view));
        m_view.reset();
        m_board.reset();
        gtk_label_set_text(GTK_LABEL(m_people), "");
        gtk_button_set_label(GTK_BUTTON(m_join), "Join");
        gtk_widget_set_sensitive(m_join, TRUE);
        say(text);
    }

    void say(const std::string& text)
    {
        gtk_label_set_text(GTK_LABEL(m_status), text.c_str());
        std::cout << text << std::endl;
    }

    std::string m_token;
    GtkWidget* m_window = nullptr;
    GtkWidget* m_join = gtk_button_new_with_label("Join");
    GtkWidget* m_people = gtk_label_new("");
    GtkWidget* m_status = gtk_label_new("");
    GtkWidget* m_place = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    std::shared_ptr<tq::TQWBWebView> m_view;
    std::shared_ptr<tq::TQWhiteBoard> m_board;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc > 2) // a service with certificates of its own
        tq::NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            std::string(std::istreambuf_iterator<char>(std::ifstream(argv[2]).rdbuf()), {}));
    std::pair<std::string, std::shared_ptr<Application>> state{ argc > 1 ? argv[1] : "", nullptr };
    auto* application = gtk_application_new("example.whiteboard.lesson", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(application, "activate", G_CALLBACK(+[](GtkApplication* gtk, decltype(state)* data) {
        data->second = std::make_shared<Application>(data->first);
        data->second->show(gtk);
    }),
        &state);
    const int status = g_application_run(G_APPLICATION(application), 1, argv);
    state.second.reset();
    g_object_unref(application);
    return status;
}
