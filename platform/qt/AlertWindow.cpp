#include "../UIKit/AlertWindow.h"

#include "../UIKit/UITextField.h"
#include "AlertContent.h"
#include "QtText.h"

#include <QDialog>
#include <QPointer>
#include <QPushButton>
#include <algorithm>
#include <utility>

namespace tq {

namespace {

// What fits a telephone held sideways, and what is high enough for anybody.
constexpr int kLeastHeight = 320;
constexpr int kMostHeight = 640;

QWidget* windowOf(void* over)
{
    auto* widget = static_cast<QWidget*>(over);
    auto* window = widget ? widget->window() : nullptr;
    // A view that is nowhere is its own window, which nobody sees.
    return window == widget && window && !window->isVisible() ? nullptr : window;
}

} // namespace

struct AlertWindow::Impl {
    Impl(QWidget* parent, Pressed pressed);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    void create(const AlertText& text);

    // The window goes while its handler runs, and what is told with it.
    void press(std::int64_t button) const
    {
        const auto tell = pressed;
        tell(button);
    }

    const Pressed pressed;
    // As a name only, once it has gone.
    QWidget* const parent;
    QPointer<QWidget> liveParent;
    QPointer<QDialog> window;
    QPointer<QWidget> field;
    // Ends the connections with this.
    QObject receiver;
};

AlertWindow::Impl::Impl(QWidget* parent, Pressed pressed)
    : pressed(std::move(pressed))
    , parent(parent)
    , liveParent(parent)
{
    if (parent)
        QObject::connect(parent, &QObject::destroyed, &receiver, [this] { press(kCancelButton); });
}

AlertWindow::Impl::~Impl()
{
    if (field)
        field->setParent(nullptr);
    if (!window)
        return;
    QObject::disconnect(window, nullptr, &receiver, nullptr);
    window->hide();
    window->deleteLater();
}

void AlertWindow::Impl::create(const AlertText& text)
{
    window = new QDialog(liveParent);
    window->setWindowTitle(toQt(text.name));
    // Over no window there is none to hold up.
    window->setWindowModality(liveParent ? Qt::WindowModal : Qt::NonModal);
    QObject::connect(window, &QDialog::rejected, &receiver, [this] { press(kCancelButton); });
    QObject::connect(window, &QDialog::accepted, &receiver, [this] { press(kOtherButton); });
    // With its parent, before that says that it goes.
    QObject::connect(window, &QObject::destroyed, &receiver, [this] { press(kCancelButton); });
}

AlertWindow::AlertWindow(void* over, Pressed pressed)
    : m_impl(new Impl(windowOf(over), std::move(pressed)))
{
}

AlertWindow::~AlertWindow() = default;

const void* AlertWindow::parent() const { return m_impl->parent; }

void AlertWindow::present(const AlertText& text, const UITextField* field)
{
    if (m_impl->window || (m_impl->parent && !m_impl->liveParent))
        return;
    m_impl->create(text);
    auto& window = *m_impl->window;
    m_impl->field = field ? static_cast<QWidget*>(field->nativeHandle()) : nullptr;
    const int height = m_impl->liveParent ? m_impl->liveParent->height() : 0;
    AlertContent content(window, std::clamp(height, kLeastHeight, kMostHeight));
    content.addTexts(toQt(text.title), toQt(text.message));
    if (m_impl->field)
        content.addField(*m_impl->field);
    auto* cancel = content.addButton(toQt(text.cancelButton));
    QObject::connect(cancel, &QPushButton::clicked, &window, &QDialog::reject);
    auto* defaultButton = cancel;
    if (text.otherButton) {
        defaultButton = content.addButton(toQt(*text.otherButton));
        QObject::connect(defaultButton, &QPushButton::clicked, &window, &QDialog::accept);
    }
    defaultButton->setDefault(true);
    content.arrange();
    (m_impl->field ? m_impl->field.data() : defaultButton)->setFocus();
    window.show();
}

} // namespace tq
