// The service-settings and profile flows plug in here.
#include <QLabel>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "SettingScreen.h"

namespace nbx {

void AppDelegate::refreshSetting() {}

void AppDelegate::updateSettingsUI() {
    log("Update Settings UI");
    const QString phone =
        arrGetuserInfo && arrGetuserInfo->size() == 2
            ? QStringLiteral("+%1 %2").arg(QString::fromStdString(arrGetuserInfo->at(0)),
                                           QString::fromStdString(arrGetuserInfo->at(1)))
            : QString();
    window_->settingScreen->senderLabel()->setText(phone);
}

}  // namespace nbx
