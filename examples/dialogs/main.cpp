// A page that asks its user things, and the windows in which it does: alert, confirm and prompt need nothing from the
// application, which may choose what their titles and buttons say.
//
// usage: dialogs [english] [LABEL=TEXT...]        for example: dialogs english confirmOkBtn=Clear

#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <TQWhiteBoardLib/gtk/NativeView.h>
#include <gtk/gtk.h>
#include <map>
#include <span>
#include <string>
#include <string_view>

constexpr const char* page = R"page(<!doctype html><meta charset="utf-8"><title>Dialogs</title><style>
body { display: grid; grid: 56px 1fr / repeat(3, 1fr); gap: 12px; height: 100vh; box-sizing: border-box; margin: 0;
    padding: 12px; background: #e9edf2; color: #1f2933; font: 15px sans-serif; }
button { border: 1px solid #d5dce4; border-radius: 8px; background: white; font: inherit; }
p { grid-column: 1 / 4; text-align: center; }
</style>
<button onclick="show(alert('The board is saved.'))">alert</button>
<button onclick="show(confirm('Clear the board for everybody?'))">confirm</button>
<button onclick="show(prompt('What is this board called?', 'Geometry'))">prompt</button>
<p>Press a button.</p>
<script>
function show(answer) {
    document.querySelector("p").textContent = "The answer is " + JSON.stringify(answer ?? null) + ".";
}
</script>)page";

int main(int argc, char** argv)
{
    gtk_init();
    auto view = tq::DWKWebView::initWithFrame({ 0, 0, 560, 380 }, nullptr);
    auto* window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(window), "Dialogs");
    gtk_window_set_titlebar(GTK_WINDOW(window), gtk_header_bar_new());
    gtk_window_set_default_size(GTK_WINDOW(window), 560, 380);
    gtk_window_set_child(GTK_WINDOW(window), tq::nativeView(*view));
    gtk_window_present(GTK_WINDOW(window));

    // What is not named here keeps its default.
    std::map<std::string, std::string> labels;
    for (const std::string_view argument : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        if (argument == "english") {
            labels.merge(tq::englishDialogLabels());
            continue;
        }
        const auto equals = std::min(argument.find('='), argument.size());
        labels.insert_or_assign(
            std::string(argument.substr(0, equals)), argument.substr(std::min(equals + 1, argument.size())));
    }
    view->customJavascriptDialogLabelTitles(labels);

    char* escaped = g_uri_escape_string(page, nullptr, FALSE);
    view->loadUrl("data:text/html," + std::string(escaped));
    g_free(escaped);
    while (g_list_model_get_n_items(gtk_window_get_toplevels()))
        g_main_context_iteration(nullptr, TRUE);
}
