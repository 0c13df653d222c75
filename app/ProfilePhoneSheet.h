#pragma once

#include "Localizer.h"
#include "PropertyValue.h"
#include "Sheet.h"

class QAbstractItemModel;
class QLineEdit;

namespace nbx {

class NBXSendButton;
class PhoneEntry;

// Registers a phone number: request a certificate number, type it before the countdown ends.
class ProfilePhoneSheet : public Sheet {
    Q_OBJECT
public:
    ProfilePhoneSheet(const Localizer& tr, const PropertyValue& countryTable,
                      QAbstractItemModel* countryModel, QWidget* parent);

    // "m:ss" as the countdown shows it.
    static QString countdownText(int secondsLeft);
    void setSecondsLeft(int secondsLeft);
    void showExpired(bool expired);
    // The countdown text and the clock together.
    void setCountdownVisible(bool visible);

    PhoneEntry* phoneEntry() const { return phone_; }
    NBXSendButton* certificationButton() const { return certification_; }
    QLineEdit* certificateField() const { return certificate_; }
    QLabel* countdownLabel() const { return countdown_; }
    QLabel* clock() const { return clock_; }
    QLabel* expiredLabel() const { return expired_; }
    QPushButton* tryAgainButton() const { return tryAgain_; }
    QPushButton* okButton() const { return ok_; }
    QPushButton* closeButton() const { return close_; }

private:
    NBXSendButton* certification_;
    PhoneEntry* phone_;
    QLineEdit* certificate_;
    QLabel* countdown_;
    QLabel* clock_;
    QLabel* expired_;
    QPushButton* tryAgain_;
    QPushButton* close_;
    QPushButton* ok_;
};

}  // namespace nbx
