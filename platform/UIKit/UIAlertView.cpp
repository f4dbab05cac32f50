#include "UIAlertView.h"

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSLog.h"
#include "AlertWindow.h"
#include "ShownText.h"
#include "UITextField.h"

#include <algorithm>
#include <list>
#include <utility>

namespace tq {

namespace {

// Alerts of one delegate that wait; a page that asks for more without end gets them refused.
constexpr long kMostWaiting = 20;
// Longer texts keep the user waiting while they are laid out.
constexpr TextLimits kText{ 1500, 100 };
constexpr TextLimits kTitle{ 300, 10 };
constexpr TextLimits kLine{ 200, 1 };

} // namespace

struct UIAlertView::Impl {
    void present()
    {
        window->present({ .name = shownText(title, kLine),
                            .title = shownText(title, message.empty() ? kText : kTitle),
                            .message = shownText(message, kText),
                            .cancelButton = shownText(cancelTitle, kLine),
                            .otherButton = otherTitle ? OptionalText(shownText(*otherTitle, kLine)) : std::nullopt },
            field.get());
    }
    void finish(std::optional<std::int64_t> button);

    // The alerts on the screen and those that wait, in the order in which they were shown.
    static std::list<std::shared_ptr<UIAlertView>>& shownAlerts()
    {
        // Never destroyed: at the program's end the toolkit may be gone before it.
        static auto* const s_alerts = new std::list<std::shared_ptr<UIAlertView>>;
        return *s_alerts;
    }
    static auto over(const void* parent)
    {
        return
            [parent](const std::shared_ptr<UIAlertView>& other) { return other->m_impl->window->parent() == parent; };
    }

    UIAlertView& alert;
    const std::string title;
    const std::string message;
    const std::weak_ptr<UIAlertViewDelegate> delegate;
    const std::string cancelTitle;
    const OptionalText otherTitle;
    std::shared_ptr<UITextField> field{};
    bool isRefused = false;
    // There as long as the alert is shown or waits.
    std::unique_ptr<AlertWindow> window{};
};

void UIAlertView::Impl::finish(std::optional<std::int64_t> button)
{
    auto& alerts = shownAlerts();
    const auto found
        = std::ranges::find_if(alerts, [this](const auto& candidate) { return candidate.get() == &alert; });
    if (found == alerts.end())
        return;
    const auto self = std::move(*found);
    alerts.erase(found);
    const auto* parent = window->parent();
    window.reset();
    if (const auto listener = button ? delegate.lock() : nullptr)
        runGuarded([&] { listener->alertView(alert, *button); });
    if (const auto next = std::ranges::find_if(alerts, over(parent)); next != alerts.end())
        (*next)->m_impl->present();
}

UIAlertView::UIAlertView(std::string title, std::string message, std::weak_ptr<UIAlertViewDelegate> delegate,
    std::string cancelButtonTitle, std::optional<std::string> otherButtonTitle)
    : m_impl(new Impl{ *this, std::move(title), std::move(message), std::move(delegate), std::move(cancelButtonTitle),
        std::move(otherButtonTitle) })
{
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
    m_impl->window
        = std::make_unique<AlertWindow>(over, [impl = m_impl.get()](std::int64_t button) { impl->finish(button); });
    const bool isFirst = std::ranges::none_of(alerts, Impl::over(m_impl->window->parent()));
    alerts.push_back(shared_from_this());
    if (isFirst)
        m_impl->present();
}

void UIAlertView::dismiss()
{
    m_impl->isRefused = false;
    m_impl->finish(std::nullopt);
}

} // namespace tq
