#pragma once

#include <QWidget>

#include "Localizer.h"

class QCheckBox;
class QLineEdit;

namespace nbx {

// The account sign-in pair of the authentication screen. Registering with the phone number alone
// is the default, so the box starts ticked and the account ID and password fields disabled.
class AccountEntry : public QWidget {
    Q_OBJECT
public:
    explicit AccountEntry(const Localizer& tr, QWidget* parent = nullptr);

    QCheckBox* registrationCheckBox() const { return registration_; }
    QLineEdit* accountIdField() const { return accountId_; }
    QLineEdit* passwordField() const { return password_; }

private:
    QCheckBox* registration_;
    QLineEdit* accountId_;
    QLineEdit* password_;
};

}  // namespace nbx
