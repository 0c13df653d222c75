#include "AuthScreen.h"

#include <QHBoxLayout>
#include <QProgressBar>

#include "AccountEntry.h"
#include "NBXSendButton.h"
#include "PhoneEntry.h"
#include "PinEntry.h"

namespace nbx {

AuthScreen::AuthScreen(const Localizer& tr, const PropertyValue& countryTable,
                       QAbstractItemModel* countryModel)
    : WizardScreen("icon_profile01", tr("Register your phone number"),
                   tr("Please, Enter the sender information, the recipient can view the "
                      "information of the sender")),
      certButton_(new NBXSendButton(tr("Certification"))),
      pinEntry_(new PinEntry(tr)),
      phoneEntry_(new PhoneEntry(tr, countryTable, countryModel, certButton_)),
      accountEntry_(new AccountEntry(tr)) {
    certButton_->setToolTip(tr("Authentication Request Push Cert Tooltip"));
    auto* entry = new QWidget;
    auto* layout = new QHBoxLayout(entry);
    layout->addWidget(phoneEntry_, 1);
    layout->addWidget(certButton_);
    layout->addWidget(pinEntry_->certificateProgress());
    addBody(entry);
    addBody(pinEntry_);
    addBody(accountEntry_);
}

}  // namespace nbx
