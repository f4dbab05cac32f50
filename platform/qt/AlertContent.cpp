#include "AlertContent.h"

#include "../UIKit/AlertLayout.h"

#include <QBoxLayout>
#include <QTextLayout>
#include <algorithm>

namespace tq {

namespace {

// A column or a row that scrolls where it is higher than it may be.
QScrollArea* createScroller(QBoxLayout::Direction direction)
{
    auto* scroller = new QScrollArea;
    auto* content = new QWidget;
    auto* layout = new QBoxLayout(direction, content);
    layout->setContentsMargins({});
    layout->setSpacing(kAlertSpacing);
    scroller->setWidget(content);
    scroller->setWidgetResizable(true);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setFixedWidth(kAlertWidth);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    return scroller;
}

// The lines of a label, which buttons do not break themselves.
QString broken(const QString& label, const QFont& font)
{
    QString lines;
    QTextLayout layout(label, font);
    layout.beginLayout();
    for (auto line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(kAlertWidth - kAlertControlHeight);
        lines += (lines.isEmpty() ? "" : "\n") + label.mid(line.textStart(), line.textLength()).trimmed();
    }
    layout.endLayout();
    return lines;
}

int heightOf(const QScrollArea& scroller, int width)
{
    auto* layout = scroller.widget()->layout();
    layout->activate();
    return layout->hasHeightForWidth() ? layout->totalHeightForWidth(width) : layout->totalSizeHint().height();
}

void setHeight(QScrollArea& scroller, int height, int mostHeight)
{
    const bool isScrolled = height > mostHeight;
    scroller.setVerticalScrollBarPolicy(isScrolled ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    // The keyboard scrolls a long text.
    scroller.setFocusPolicy(isScrolled ? Qt::StrongFocus : Qt::NoFocus);
    scroller.setFixedHeight(std::min(height, mostHeight));
}

} // namespace

AlertContent::AlertContent(QDialog& window, int height)
    : m_window(window)
    , m_height(height)
{
}

void AlertContent::addTexts(const QString& title, const QString& message)
{
    for (const auto& text : { title, message }) {
        auto* label = new QLabel(text);
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->setAlignment(
            text.size() > kAlertMostCentred ? Qt::AlignLeft | Qt::AlignTop : Qt::AlignHCenter | Qt::AlignTop);
        label->setVisible(!text.isEmpty());
        m_labels.push_back(label);
    }
    if (!message.isEmpty()) {
        auto font = m_labels.front()->font();
        font.setBold(true);
        m_labels.front()->setFont(font);
    }
}

void AlertContent::addField(QWidget& field)
{
    m_field = &field;
    field.setMinimumHeight(kAlertControlHeight);
    field.setAccessibleName(m_labels.front()->text());
    field.show();
}

QPushButton* AlertContent::addButton(const QString& label)
{
    // Ampersands would be taken for marks of a key.
    auto* button = new QPushButton(QString(label).replace('&', "&&"), &m_window);
    button->setAccessibleName(label);
    button->setAutoDefault(false);
    m_buttons.push_back(button);
    return button;
}

void AlertContent::arrange()
{
    auto* texts = createScroller(QBoxLayout::TopToBottom);
    for (auto* label : m_labels)
        texts->widget()->layout()->addWidget(label);
    const bool areShort = std::ranges::all_of(m_buttons,
        [](const QPushButton* button) { return button->sizeHint().width() <= (kAlertWidth - kAlertSpacing) / 2; });
    auto* buttons = createScroller(areShort ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    for (auto* button : m_buttons) {
        if (!areShort)
            button->setText(broken(button->text(), button->font()));
        button->setMinimumHeight(std::max(button->sizeHint().height(), kAlertControlHeight));
        buttons->widget()->layout()->addWidget(button);
    }

    auto* column = new QVBoxLayout(&m_window);
    column->setContentsMargins(kAlertMargin, kAlertMargin, kAlertMargin, kAlertMargin);
    column->setSpacing(kAlertGap);
    column->addWidget(texts);
    if (m_field)
        column->addWidget(m_field);
    column->addWidget(buttons);
    const int textHeight = heightOf(*texts, kAlertWidth);
    const int buttonHeight = heightOf(*buttons, kAlertWidth);
    const auto field = m_field ? std::optional(m_field->sizeHint().height()) : std::nullopt;
    const AlertHeights most(m_height, field, textHeight, buttonHeight);
    setHeight(*texts, textHeight, most.texts);
    setHeight(*buttons, buttonHeight, most.buttons);
    m_window.setFixedSize(kAlertWidth + 2 * kAlertMargin, column->totalSizeHint().height());
}

} // namespace tq
