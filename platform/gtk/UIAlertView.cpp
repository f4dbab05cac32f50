#include "../UIKit/UIAlertView.h"

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSLog.h"
#include "../UIKit/UITextField.h"
#include "GLibPointers.h"

#include <algorithm>
#include <gtk/gtk.h>
#include <list>
#include <utility>
#include <vector>

namespace tq {

namespace {

constexpr std::int64_t kCancelButton = 0;
constexpr std::int64_t kOtherButton = 1;
// Alerts of one delegate that wait; a page that asks for more without end gets them refused.
constexpr long kMostWaiting = 20;
// Characters of a text that are shown; laying out more keeps the user waiting.
constexpr std::size_t kMostShown = 10000;
constexpr std::size_t kMostInTitle = 200;
// The layout of a text without blanks takes a time that grows with its square.
constexpr std::size_t kLongestWord = 50;
// Bytes; an area to scroll has a height of its own, which few words do not fill.
constexpr std::size_t kMostUnscrolled = 200;
constexpr long kMostLinesUnscrolled = 5;
constexpr int kTextWidth = 48;
constexpr int kSpacing = 12;

// Whether a line may be broken there without taking a letter apart.
bool canBreakBetween(gunichar before, gunichar after)
{
    constexpr gunichar kJoiner = 0x200D;
    return before != kJoiner && after != kJoiner && !g_unichar_ismark(after);
}

// What can be shown of a text: its beginning, with invisible places to break a line in overlong words.
std::string shown(const std::string& text, std::size_t most = kMostShown)
{
    const GCharPointer valid(g_utf8_make_valid(text.data(), static_cast<gssize>(std::min(text.size(), 4 * most))));
    std::string result;
    std::size_t count = 0;
    std::size_t wordLength = 0;
    gunichar previous = 0;
    for (const char* at = valid.get(); *at; at = g_utf8_next_char(at)) {
        if (count++ == most)
            return result + "…";
        const auto character = g_utf8_get_char(at);
        wordLength = g_unichar_isspace(character) ? 0 : wordLength + 1;
        if (wordLength >= kLongestWord && canBreakBetween(previous, character)) {
            result += "\u200B";
            wordLength = 0;
        }
        previous = character;
        result.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
    }
    return result;
}

GtkWidget* createLabel(const std::string& text, const char* cssClass)
{
    const auto characters = shown(text);
    const auto length = g_utf8_strlen(characters.c_str(), -1);
    auto* label = gtk_label_new(characters.c_str());
    // A width to rely on: the height is measured before the width is known.
    gtk_label_set_width_chars(GTK_LABEL(label), int(std::min<glong>(length, kTextWidth * 2 / 3)));
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_max_width_chars(GTK_LABEL(label), kTextWidth);
    // Several lines are read from the side, a few words are looked at.
    if (length > 3L * kTextWidth)
        gtk_label_set_xalign(GTK_LABEL(label), 0);
    else
        gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
    gtk_widget_add_css_class(label, cssClass);
    gtk_widget_set_visible(label, text.empty() ? FALSE : TRUE);
    return label;
}

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
    GtkWidget* createContent();
    GtkWidget* createTexts() const;
    GtkWidget* createButton(const std::string& label, GCallback clicked);
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

GtkWidget* UIAlertView::Impl::createTexts() const
{
    auto* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, kSpacing);
    gtk_box_append(GTK_BOX(texts), createLabel(title, message.empty() ? "body" : "title-4"));
    gtk_box_append(GTK_BOX(texts), createLabel(message, "body"));
    if (title.size() + message.size() <= kMostUnscrolled
        && std::ranges::count(title, '\n') + std::ranges::count(message, '\n') <= kMostLinesUnscrolled)
        return texts;
    auto* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_propagate_natural_width(GTK_SCROLLED_WINDOW(scroller), TRUE);
    gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scroller), TRUE);
    const int height = parent ? gtk_widget_get_height(GTK_WIDGET(parent)) : 0;
    gtk_scrolled_window_set_max_content_height(GTK_SCROLLED_WINDOW(scroller), std::clamp(height / 2, 160, 600));
    // The keyboard scrolls a long text.
    gtk_widget_set_focusable(scroller, TRUE);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), texts);
    return scroller;
}

GtkWidget* UIAlertView::Impl::createButton(const std::string& label, GCallback clicked)
{
    auto* button = gtk_button_new_with_label(shown(label, kMostInTitle).c_str());
    gtk_widget_set_hexpand(button, TRUE);
    if (auto* text = gtk_button_get_child(GTK_BUTTON(button)); GTK_IS_LABEL(text)) {
        gtk_label_set_ellipsize(GTK_LABEL(text), PANGO_ELLIPSIZE_END);
        gtk_label_set_max_width_chars(GTK_LABEL(text), kTextWidth / 2);
    }
    g_signal_connect(button, "clicked", clicked, this);
    return button;
}

GtkWidget* UIAlertView::Impl::createContent()
{
    auto* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, kSpacing + kSpacing / 2);
    for (auto* set : { gtk_widget_set_margin_top, gtk_widget_set_margin_bottom, gtk_widget_set_margin_start,
             gtk_widget_set_margin_end })
        set(content, 2 * kSpacing);
    gtk_widget_set_size_request(content, 260, -1);
    gtk_box_append(GTK_BOX(content), createTexts());
    if (field) {
        auto* entry = static_cast<GtkWidget*>(field->nativeHandle());
        gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
        gtk_box_append(GTK_BOX(content), entry);
    }
    auto* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, kSpacing);
    gtk_box_set_homogeneous(GTK_BOX(buttons), TRUE);
    defaultButton = createButton(cancelTitle, G_CALLBACK(cancel));
    gtk_box_append(GTK_BOX(buttons), defaultButton);
    if (otherTitle) {
        defaultButton = createButton(*otherTitle, G_CALLBACK(accept));
        gtk_box_append(GTK_BOX(buttons), defaultButton);
    }
    gtk_widget_add_css_class(defaultButton, "suggested-action");
    gtk_box_append(GTK_BOX(content), buttons);
    return content;
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
    window = static_cast<GtkWindow*>(g_object_new(GTK_TYPE_WINDOW, "modal", TRUE, "resizable", FALSE, "accessible-role",
        GTK_ACCESSIBLE_ROLE_ALERT_DIALOG, nullptr));
    gtk_window_set_title(window, shown(title, kMostInTitle).c_str());
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
    gtk_window_set_child(window, createContent());
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
        NSLog("an alert is cancelled unseen, since too many are waiting already");
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
