#include "NBXAccessible.h"

#include <QListWidgetItem>
#include <QWidget>

namespace nbx {

void NBXAccessible::name(QWidget* control, const QString& name, const QString& description) {
    control->setAccessibleName(name);
    // Left empty, a control's tool tip is read instead.
    if (!description.isEmpty()) control->setAccessibleDescription(description);
}

void NBXAccessible::name(QListWidgetItem* row, const QString& name, const QString& description) {
    row->setData(Qt::AccessibleTextRole, name);
    row->setData(Qt::AccessibleDescriptionRole, description);
}

void NBXAccessible::tabOrder(const std::vector<QWidget*>& controls) {
    if (controls.empty()) return;
    // Qt keeps an order it finds already in place, even when the chain reaches the second
    // control only by wrapping around the window, which is not where Tab starts. A window that
    // takes focus ends the chain there while the order is set.
    QWidget* window = controls.front()->window();
    const Qt::FocusPolicy policy = window->focusPolicy();
    window->setFocusPolicy(Qt::TabFocus);
    for (std::size_t i = 1; i < controls.size(); ++i)
        QWidget::setTabOrder(controls[i - 1], controls[i]);
    window->setFocusPolicy(policy);
}

}  // namespace nbx
