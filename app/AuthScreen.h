#pragma once

#include "Localizer.h"
#include "WizardScreen.h"

class QAbstractItemModel;

namespace nbx {

class AccountEntry;
class NBXSendButton;
class PhoneEntry;
class PinEntry;
class PropertyValue;

// The wizard step that registers the phone: number, certification request, PIN and account.
class AuthScreen : public WizardScreen {
    Q_OBJECT
public:
    AuthScreen(const Localizer& tr, const PropertyValue& countryTable,
               QAbstractItemModel* countryModel);

    PhoneEntry* phoneEntry() const { return phoneEntry_; }
    NBXSendButton* certButton() const { return certButton_; }
    PinEntry* pinEntry() const { return pinEntry_; }
    AccountEntry* accountEntry() const { return accountEntry_; }

private:
    NBXSendButton* certButton_;
    PinEntry* pinEntry_;
    PhoneEntry* phoneEntry_;
    AccountEntry* accountEntry_;
};

}  // namespace nbx
