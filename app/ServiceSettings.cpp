#include "ServiceSettings.h"

#include <QLabel>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "PrinterSharing.h"
#include "SettingScreen.h"

namespace nbx {

void ServiceSettings::refreshSetting() {}

void ServiceSettings::settingGetPrinterInfo() {}

void ServiceSettings::updateSettingsUI() {
    app_.log("Update Settings UI");
    app_.checkMyInfoPlist();
    const SenderIdentity user = app_.shared().arrGetuserInfo.get();
    const QString phone = user ? QStringLiteral("+%1 %2").arg(QString::fromStdString((*user)[0]),
                                                              QString::fromStdString((*user)[1]))
                               : QString();
    app_.window()->settingScreen->senderLabel()->setText(phone);
    app_.sharing().updateAgentInfo();
}

}  // namespace nbx
