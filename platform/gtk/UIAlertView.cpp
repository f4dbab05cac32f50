#include "../UIKit/UIAlertView.h"

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSLog.h"
#include "../UIKit/UITextField.h"
#include "AlertContent.h"
#include "GLibPointers.h"

#include <algorithm>
#include <gtk/gtk.h>
#include <list>
#include <utility>

namespace tq {

namespace {

constexpr std::int64_t kCancelButton = 0;
constexpr std::int64_t kOtherButton = 1;
// Alerts of one delegate that wait; a page that asks for more without end gets them refused.
constexpr long kMostWaiting = 20;
// What fits a telephone held sideways, and what is high enough for anybody.
constexpr int kLeastHeight = 320;
constexpr int kMostHeight = 640;
// What the toolkit may draw around a window.
constexpr int kFrame = 12;

} // namespace

struct UIAlertView::Impl {
    explicit Impl(UIAlertView& alert)
        : alert(alert)
    {
    }
    ~Impl() { close(); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void present();
    void close();
    void finish(std::optional<std::int64_t> button);
    void addContent();
    void addEscape();

    static void cancel(gpointer, gpointer impl) { static_cast<Impl*>(impl)->finish(kCancelButton); }
    static void accept(gpointer, gpointer impl) { static_cast<Impl*>(impl)->finish(kOtherButton); }
    static gboolean closeRequest(GtkWindow*, gpointer impl)
    {
        cancel(nullptr, impl);
        return TRUE;
    }

    // The alerts on the screen and those that wait, in the order in which they were shown.
    static std::list<std::shared_ptr<UIAlertView>>& shownAlerts()
    {
        // Never destroyed: at the program's end the toolkit may be gone before it.
        static auto* const s_alerts = new std::list<std::shared_ptr<UIAlertView>>;
        return *s_alerts;
    }
    static auto ofParent(const GtkWindow* parent)
    {
        return [parent](const std::shared_ptr<UIAlertView>& alert) { return alert->m_impl->parent == parent; };
    }

    UIAlertView& alert;
    std::string title;
    std::string message;
    std::weak_ptr<UIAlertViewDelegate> delegate;
    std::string cancelTitle;
    std::optional<std::string> otherTitle;
    std::shared_ptr<UITextField> field;
    // Not held, so that it can go; the alert goes with it.
    GtkWindow* parent = nullptr;
    SignalConnection parentGoes;
    GObjectPointer<GtkWindowGroup> group;
    bool isRefused = false;
    GtkWindow* window = nullptr;
    GtkWidget* defaultButton = nullptr;
};

void UIAlertView::Impl::addContent()
{
    auto* entry = field ? static_cast<GtkWidget*>(field->nativeHandle()) : nullptr;
    if (entry)
        gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
    AlertContent content(title, message, entry);
    defaultButton = content.addButton(cancelTitle);
    g_signal_connect(defaultButton, "clicked", G_CALLBACK(cancel), this);
    if (otherTitle) {
        defaultButton = content.addButton(*otherTitle);
        g_signal_connect(defaultButton, "clicked", G_CALLBACK(accept), this);
    }
    gtk_widget_add_css_class(defaultButton, "suggested-action");
    const int height = parent ? gtk_widget_get_height(GTK_WIDGET(parent)) : 0;
    content.putInto(window, std::clamp(height, kLeastHeight, kMostHeight) - kFrame);
}

void UIAlertView::Impl::addEscape()
{
    auto* shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(shortcuts), GTK_SHORTCUT_SCOPE_GLOBAL);
    auto* action = gtk_callback_action_new(
        [](GtkWidget*, GVariant*, gpointer impl) -> gboolean { return closeRequest(nullptr, impl); }, this, nullptr);
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
        gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, GdkModifierType(0)), action));
    gtk_widget_add_controller(GTK_WIDGET(window), shortcuts);
}

void UIAlertView::Impl::present()
{
    // Over no window there is none to hold up.
    window = static_cast<GtkWindow*>(g_object_new(GTK_TYPE_WINDOW, "modal", parent ? TRUE : FALSE, "resizable", FALSE,
        "accessible-role", GTK_ACCESSIBLE_ROLE_ALERT_DIALOG, nullptr));
    gtk_window_set_title(window, lineOf(title).c_str());
    gtk_window_set_transient_for(window, parent);
    // The application's other windows go on; without a group of its own the alert would hold up all of them.
    if (parent && !gtk_window_has_group(parent)) {
        group.reset(gtk_window_group_new());
        gtk_window_group_add_window(group.get(), parent);
        gtk_window_group_add_window(group.get(), window);
    }
    gtk_widget_add_css_class(GTK_WIDGET(window), "dialog");
    gtk_widget_add_css_class(GTK_WIDGET(window), "message");
    // The alert says its title itself; it has no bar.
    auto* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_visible(bar, FALSE);
    gtk_window_set_titlebar(window, bar);
    addContent();
    g_signal_connect(window, "close-request", G_CALLBACK(closeRequest), this);
    addEscape();
    gtk_window_set_default_widget(window, defaultButton);
    gtk_window_set_focus(window, field ? static_cast<GtkWidget*>(field->nativeHandle()) : defaultButton);
    gtk_window_present(window);
}

void UIAlertView::Impl::close()
{
    parentGoes = {};
    if (group && gtk_window_has_group(parent) && gtk_window_get_group(parent) == group.get())
        gtk_window_group_remove_window(group.get(), parent);
    group.reset();
    if (window)
        gtk_window_destroy(std::exchange(window, nullptr));
}

void UIAlertView::Impl::finish(std::optional<std::int64_t> button)
{
    auto& alerts = shownAlerts();
    const auto found
        = std::ranges::find_if(alerts, [this](const auto& candidate) { return candidate.get() == &alert; });
    if (found == alerts.end())
        return;
    const auto self = std::move(*found);
    alerts.erase(found);
    // The listener may destroy the window.
    const auto heldParent = retained(parent);
    close();
    if (const auto listener = button ? delegate.lock() : nullptr)
        runGuarded([&] { listener->alertView(alert, *button); });
    if (parent && gtk_widget_in_destruction(GTK_WIDGET(parent)))
        return;
    const auto next = std::ranges::find_if(alerts, ofParent(parent));
    if (next != alerts.end() && !(*next)->m_impl->window)
        (*next)->m_impl->present();
}

UIAlertView::UIAlertView(std::string title, std::string message, std::weak_ptr<UIAlertViewDelegate> delegate,
    std::string cancelButtonTitle, std::optional<std::string> otherButtonTitle)
    : m_impl(std::make_unique<Impl>(*this))
{
    m_impl->title = std::move(title);
    m_impl->message = std::move(message);
    m_impl->delegate = std::move(delegate);
    m_impl->cancelTitle = std::move(cancelButtonTitle);
    m_impl->otherTitle = std::move(otherButtonTitle);
}

UIAlertView::~UIAlertView() = default;

std::shared_ptr<UIAlertView> UIAlertView::initWithTitle(std::string title, std::string message,
    std::weak_ptr<UIAlertViewDelegate> delegate, std::string cancelButtonTitle,
    std::optional<std::string> otherButtonTitle)
{
    return std::shared_ptr<UIAlertView>(new UIAlertView(std::move(title), std::move(message), std::move(delegate),
        std::move(cancelButtonTitle), std::move(otherButtonTitle)));
}

void UIAlertView::setAlertViewStyle(UIAlertViewStyle style)
{
    m_impl->field = style == UIAlertViewStyle::PlainTextInput ? UITextField::initWithFrame({}) : nullptr;
}

std::shared_ptr<UITextField> UIAlertView::textFieldAtIndex(std::int64_t index) const
{
    return index == 0 ? m_impl->field : nullptr;
}

void UIAlertView::show(void* over)
{
    auto* root = over ? gtk_widget_get_root(static_cast<GtkWidget*>(over)) : nullptr;
    m_impl->parent = GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr;
    auto& alerts = Impl::shownAlerts();
    const auto isOfSameDelegate = [this](const auto& other) {
        const auto& theirs = other->m_impl->delegate;
        return !theirs.owner_before(m_impl->delegate) && !m_impl->delegate.owner_before(theirs);
    };
    if (std::ranges::count_if(alerts, isOfSameDelegate) > kMostWaiting) {
        m_impl->isRefused = true;
        NSLog(TQWBLogLevel::Warning, "an alert is cancelled unseen, since too many are waiting already");
        dispatchToMain([self = shared_from_this()] {
            if (const auto listener = self->m_impl->isRefused ? self->m_impl->delegate.lock() : nullptr)
                listener->alertView(*self, kCancelButton);
        });
        return;
    }
    const bool isFirst = std::ranges::none_of(alerts, Impl::ofParent(m_impl->parent));
    alerts.push_back(shared_from_this());
    if (m_impl->parent)
        m_impl->parentGoes = SignalConnection(m_impl->parent, "destroy", G_CALLBACK(Impl::cancel), m_impl.get());
    if (isFirst)
        m_impl->present();
}

void UIAlertView::dismiss()
{
    m_impl->isRefused = false;
    m_impl->finish(std::nullopt);
}

} // namespace tq
