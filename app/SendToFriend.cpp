#include "SendToFriend.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "NBXNotificationCenter.h"
#include "PhoneEntry.h"
#include "PrinterScreen.h"

namespace nbx {

void SendToFriend::connectWindow(MainWindow* w) {
    w->printerScreen.whenBuilt([this](PrinterScreen* screen) {
        // On selection, not on a click: the entry that appears moves the row between press and
        // release, so a click would never be seen.
        QObject::connect(screen->friendTable(), &QListWidget::itemSelectionChanged, &app_,
                         [this, screen] {
                             if (screen->selectedFriendRow() >= 0) clickFriendTableView();
                         });
        QObject::connect(screen->friendEntry()->countryPopup(), &QComboBox::activated, &app_,
                         [this](int index) { clickContryFlag_Friend(index); });
    });
}

bool SendToFriend::canSend(const std::string& code, const std::string& phone) const {
    return app_.checkMyInfoPlist() && !NBXConnectManger::removeLeadingZeros(code).empty() &&
           !NBXConnectManger::removeLeadingZeros(phone).empty();
}

// Every click adds one more observer, and choosing a printer row later asks the session-wide
// centre to drop it, where it never was: the observers stay, as the product always had them.
void SendToFriend::clickFriendTableView() {
    PrinterScreen* screen = app_.window()->printerScreen;
    PhoneEntry* entry = screen->friendEntry();
    entry->phoneField()->setFocus();
    screen->printerTable()->clearSelection();
    screen->nextButton()->setText(app_.localized("Send Job"));
    screen->nextButton()->setEnabled(canSend(entry->codeField()->text().toStdString(),
                                             entry->phoneField()->text().toStdString()));
    QObject::connect(&NBXNotificationCenter::defaultCenter(), &NBXNotificationCenter::notified,
                     &app_, [this](const QString& name, const QVariantMap& userInfo) {
                         if (name == "insertUserInfo") isInputFriendInfo(userInfo);
                     });
}

void SendToFriend::isInputFriendInfo(const QVariantMap& userInfo) {
    PhoneEntry* entry = app_.window()->printerScreen->friendEntry();
    const QString code = userInfo.value("Code", entry->codeField()->text()).toString();
    const QString phone = userInfo.value("Phone", entry->phoneField()->text()).toString();
    app_.window()->printerScreen->nextButton()->setEnabled(
        canSend(code.toStdString(), phone.toStdString()));
}

void SendToFriend::clickContryFlag_Friend(int index) {
    const PropertyValue& countries = app_.arrCountyCode();
    if (index < 0 || static_cast<std::size_t>(index) >= countries.size()) return;
    const std::string code =
        countries.at(static_cast<std::size_t>(index))["Code"].string().value_or("");
    app_.window()->printerScreen->friendEntry()->codeField()->setText(QString::fromStdString(code));
    app_.log("Select country code : " + code);
    // A code set by the popup is no typed edit, so nobody posts it.
    isInputFriendInfo({{"Code", QString::fromStdString(code)}});
}

}  // namespace nbx
