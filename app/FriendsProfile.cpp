#include "FriendsProfile.h"

#include <QPushButton>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "SettingScreen.h"

namespace nbx {

void FriendsProfile::connectWindow(MainWindow* w) {
    w->settingScreen.whenBuilt([this](SettingScreen* screen) {
        QObject::connect(screen->editButton(), &QPushButton::clicked, &app_,
                         [this] { clickProfileEdit(); });
    });
}

void FriendsProfile::clickProfileEdit() {
    const int answer = app_.platform().alerts->runModal(
        {app_.localized("Authentication Confirmation").toStdString(),
         app_.localized("If you change the phone number, the current information will be "
                        "removed. Would you like to proceed?")
             .toStdString(),
         {app_.localized("Yes").toStdString(), app_.localized("No").toStdString()}});
    // Setup runs on a worker; its follow-up comes back to the main thread.
    if (answer == 0) app_.runNBXSetup("userchange");
}

}  // namespace nbx
