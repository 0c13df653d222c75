#include "PinEntry.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

#include "NBXAccessible.h"

namespace nbx {

namespace {

// An indeterminate bar, hidden until work starts.
QProgressBar* busyIndicator() {
    auto* bar = new QProgressBar;
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setMaximumSize(90, 12);
    bar->hide();
    return bar;
}

}  // namespace

PinEntry::PinEntry(const Localizer& tr, QWidget* parent)
    : QWidget(parent),
      pin_(new QLineEdit),
      countdown_(new QLabel),
      clock_(new QLabel),
      sms_(new QCheckBox(tr("Authentication Request SMS Cert Tooltip"))),
      certificateProgress_(busyIndicator()),
      nextProgress_(busyIndicator()) {
    pin_->setPlaceholderText(tr("The certificate number"));
    NBXAccessible::name(pin_, tr("The certificate number"));
    pin_->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9]{0,8}"), pin_));
    pin_->setEnabled(false);
    pin_->setMaximumWidth(220);
    sms_->setToolTip(tr("Authentication Request SMS Cert Tooltip"));
    countdown_->setObjectName("hint");
    setCountdownVisible(false);

    auto* pinRow = new QHBoxLayout;
    pinRow->addWidget(pin_);
    pinRow->addWidget(clock_);
    pinRow->addWidget(countdown_);
    pinRow->addWidget(nextProgress_);
    pinRow->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(pinRow);
    layout->addWidget(sms_);
}

void PinEntry::setCountdownVisible(bool visible) {
    countdown_->setVisible(visible);
    clock_->setVisible(visible);
}

}  // namespace nbx
