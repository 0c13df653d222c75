#include "WizardScreen.h"

#include <QLabel>
#include <QVBoxLayout>

#include "NBXImages.h"

namespace nbx {

WizardScreen::WizardScreen(const QString& imageKey, const QString& heading, const QString& message,
                           QWidget* parent)
    : QWidget(parent), heading_(new QLabel(heading)), message_(new QLabel(message)) {
    auto* image = new QLabel;
    image->setPixmap(NBXImages::image(imageKey).pixmap(64, 64));
    image->setAlignment(Qt::AlignCenter);
    heading_->setObjectName("heading");
    heading_->setAlignment(Qt::AlignCenter);
    heading_->setWordWrap(true);
    message_->setAlignment(Qt::AlignCenter);
    message_->setWordWrap(true);
    layout_ = new QVBoxLayout(this);
    layout_->setContentsMargins(48, 24, 48, 24);
    layout_->setSpacing(14);
    layout_->addStretch();
    layout_->addWidget(image);
    layout_->addWidget(heading_);
    layout_->addWidget(message_);
    layout_->addStretch();
}

void WizardScreen::addBody(QWidget* body) {
    layout_->insertWidget(layout_->count() - 1, body);
}

QString WizardScreen::heading() const {
    return heading_->text();
}
QString WizardScreen::message() const {
    return message_->text();
}

}  // namespace nbx
