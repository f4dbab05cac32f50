#pragma once

#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <vector>

namespace tq {

/// What an alert's window holds, from the top: title, message, a field, and buttons side by side or, with long labels,
/// above each other. It is as wide as any telephone held upright, and no higher than it is told: texts and buttons that
/// are higher scroll, with a bar that stays.
class AlertContent {
public:
    /// @param height of the window, at most.
    AlertContent(QDialog& window, int height);

    void addTexts(const QString& title, const QString& message);
    void addField(QWidget& field);
    /// Adds a button below, or to the right of, those that are there.
    QPushButton* addButton(const QString& label);
    /// Gives everything its place; the window is not on the screen yet.
    void arrange();

private:
    QDialog& m_window;
    const int m_height;
    std::vector<QLabel*> m_labels;
    QWidget* m_field = nullptr;
    std::vector<QPushButton*> m_buttons;
};

} // namespace tq
