#include "ProfilePhoneSheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "NBXAccessible.h"
#include "NBXCodeFormatter.h"
#include "NBXSendButton.h"
#include "PhoneEntry.h"

namespace nbx {

ProfilePhoneSheet::ProfilePhoneSheet(const Localizer& tr, const PropertyValue& countryTable,
                                     QAbstractItemModel* countryModel, QWidget* parent)
    : Sheet(parent, tr("Register your phone number")),
      certification_(new NBXSendButton(tr("Certification"))),
      phone_(new PhoneEntry(tr, countryTable, countryModel, certification_)),
      certificate_(new QLineEdit),
      countdown_(new QLabel),
      clock_(new QLabel),
      expired_(new QLabel(tr("Certificate expired. New request is needed."))) {
    setMinimumWidth(580);
    certification_->setToolTip(tr("Authentication Request Push Cert Tooltip"));
    auto* request = new QHBoxLayout;
    request->addWidget(phone_, 1);
    request->addWidget(certification_);
    body()->addLayout(request);

    certificate_->setPlaceholderText(tr("The certificate number"));
    NBXAccessible::name(certificate_, tr("The certificate number"));
    auto* pin = new QHBoxLayout;
    pin->addWidget(certificate_, 1);
    pin->addWidget(countdown_);
    pin->addWidget(clock_);
    body()->addLayout(pin);
    expired_->setObjectName("warning");
    expired_->hide();
    body()->addWidget(expired_);

    addText(tr("*Do you have trouble receiving the certificate number? Please try again by text "
               "message service."))
        ->setObjectName("hint");
    tryAgain_ = new QPushButton(tr("Try again"));
    tryAgain_->setToolTip(tr("Authentication Request SMS Cert Tooltip"));
    body()->addWidget(tryAgain_, 0, Qt::AlignLeft);

    close_ = addButton(tr("Close"));
    close_->setToolTip(tr("Main Close Tooltip"));
    ok_ = addButton(tr("OK"), true);
    ok_->setEnabled(false);
    (new NBXCodeFormatter(0, ok_, this))->attach(certificate_);
}

QString ProfilePhoneSheet::countdownText(int secondsLeft) {
    const int minutes = secondsLeft / 60;
    const int seconds = secondsLeft % 60;
    return seconds < 10 ? QStringLiteral("%1:0%2").arg(minutes).arg(seconds)
                        : QStringLiteral("%1:%2").arg(minutes).arg(seconds);
}

void ProfilePhoneSheet::setSecondsLeft(int secondsLeft) {
    countdown_->setText(countdownText(secondsLeft));
}

void ProfilePhoneSheet::showExpired(bool expired) {
    expired_->setVisible(expired);
}

void ProfilePhoneSheet::setCountdownVisible(bool visible) {
    countdown_->setVisible(visible);
    clock_->setVisible(visible);
}

}  // namespace nbx
