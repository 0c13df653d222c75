#include "Sheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace nbx {

Sheet::Sheet(QWidget* parent, const QString& title)
    : QDialog(parent), body_(new QVBoxLayout), buttons_(new QHBoxLayout) {
    setWindowModality(Qt::WindowModal);
    setWindowTitle(title);
    setMinimumWidth(380);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(12);
    if (!title.isEmpty()) {
        auto* heading = new QLabel(title);
        heading->setObjectName("heading");
        layout->addWidget(heading);
    }
    body_->setSpacing(8);
    layout->addLayout(body_);
    buttons_->addStretch();
    layout->addLayout(buttons_);
}

QLabel* Sheet::addText(const QString& text) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    body_->addWidget(label);
    return label;
}

QPushButton* Sheet::addButton(const QString& text, bool primary) {
    auto* button = new QPushButton(text);
    if (primary) {
        button->setObjectName("primary");
        button->setDefault(true);
    }
    buttons_->addWidget(button);
    return button;
}

}  // namespace nbx
