#include "Style.h"

#include "GLibTypes.h"

#include <string_view>

namespace tqclient {

namespace {

// Colours come from the theme, so that light and dark ones both work.
constexpr std::string_view kRules = R"(
.status-pill {
    padding: 1px 9px;
    border-radius: 999px;
    font-size: smaller;
    background: alpha(currentColor, 0.10);
}
.status-pill.busy { background: alpha(@warning_color, 0.25); }
.status-pill.live { background: alpha(@success_color, 0.25); }
.status-pill.failed { background: alpha(@error_color, 0.25); }
.recording-dot { color: @error_color; }
.status-strip { padding: 4px 8px; border-bottom: 1px solid alpha(currentColor, 0.15); }
.message-bar {
    padding: 8px 12px;
    background: alpha(@error_color, 0.15);
    border-bottom: 1px solid alpha(@error_color, 0.4);
}
.recording-bar { padding: 8px 12px; border-bottom: 1px solid alpha(currentColor, 0.15); }
.message-bar label.title, .recording-bar label.title { font-weight: bold; }
.start-page { padding: 18px 16px; }
.start-page .headline { font-size: 170%; font-weight: bold; }
.form-hint { color: @error_color; }
.event-log { border: 0 solid alpha(currentColor, 0.15); }
.event-log.side { border-left-width: 1px; }
.event-log.bottom { border-top-width: 1px; }
.event-log-bar { padding: 4px 4px 4px 12px; }
.event-log textview, .event-log textview text { background: transparent; }
.small button { min-width: 24px; min-height: 34px; }
.small checkbutton { min-height: 44px; }
.small entry { min-height: 42px; }
.small .message-bar, .small .recording-bar { padding: 8px; }
.small headerbar { min-height: 0; }
.small headerbar button { margin: 2px 0; }
.small .start-page { padding: 10px 12px; }
.shortcuts { padding: 18px; }
.capture-preview { padding: 8px 12px; border-top: 1px solid alpha(currentColor, 0.15); }
.capture-picture { border: 1px solid alpha(currentColor, 0.2); background: white; }
)";

} // namespace

void installStyle()
{
    UniqueObject<GtkCssProvider> provider(gtk_css_provider_new());
    gtk_css_provider_load_from_data(provider.get(), kRules.data(), static_cast<gssize>(kRules.size()));
    gtk_style_context_add_provider_for_display(
        gdk_display_get_default(), GTK_STYLE_PROVIDER(provider.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

} // namespace tqclient
