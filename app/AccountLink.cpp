#include "AccountLink.h"

#include <QPushButton>
#include <cstdlib>
#include <filesystem>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "PhoneRegistration.h"
#include "PrinterList.h"
#include "SettingScreen.h"
#include "StateFiles.h"

namespace nbx {

namespace {
// The text the product shows for any missing helper program.
constexpr const char* kMissingApplication = "Adding Printer in System Preferences is failed.";
}  // namespace

void AccountLink::connectWindow(MainWindow* w) {
    w->settingScreen.whenBuilt([this](SettingScreen* screen) {
        QObject::connect(screen->signInButton(), &QPushButton::clicked, &app_,
                         [this] { clickAccountSignIn(); });
        QObject::connect(screen->signOutButton(), &QPushButton::clicked, &app_,
                         [this] { clickAccountSignOut(true); });
    });
}

bool AccountLink::accountApplicationExists() const {
    std::error_code ec;
    return std::filesystem::exists(app_.sAppFolderPath() + "Valmora Account.app", ec);
}

std::string AccountLink::accountCommand(const std::string& mode) const {
    return "\"" + app_.sAppFolderPath() + "Valmora Account.app/Contents/MacOS/Valmora Account\" " +
           mode;
}

// Binding needs the account the program stored, so a cancelled or missing sign-in binds nothing.
void AccountLink::clickAccountSignIn() {
    app_.showRefreshWindow("START", true);
    if (!accountApplicationExists()) {
        app_.showOnlyAlertMSG(kMissingApplication);
        app_.showRefreshWindow("STOP", false);
        return;
    }
    app_.detachNewThread([this, command = accountCommand("-signin")] {
        const int status = std::system(command.c_str());
        if (status != 0) {
            app_.log("Account sign-in ended with " + std::to_string(status));
            app_.showRefreshWindow("STOP", false);
            return;
        }
        app_.registration().requestToBindVA();
    });
}

void AccountLink::clickAccountSignOut(bool fromButton) {
    if (fromButton) {
        const int answer = app_.platform().alerts->runModal(
            {app_.localized("Sign Out").toStdString(),
             app_.localized("Are you sure you want to sign out?").toStdString(),
             {app_.localized("Yes").toStdString(), app_.localized("No").toStdString()}});
        if (answer != 0) return;
    }
    app_.showRefreshWindow("START", true);
    if (!accountApplicationExists()) {
        app_.showOnlyAlertMSG(kMissingApplication);
        afterSignOut();
        return;
    }
    app_.inBackground(
        [command = accountCommand("-signout")] { return std::system(command.c_str()); },
        [this](int) { afterSignOut(); });
}

void AccountLink::afterSignOut() {
    StateFiles::removeAgentList();
    app_.showSetting();
    app_.printers().setPlusbtn(true);
    app_.showRefreshWindow("STOP", false);
}

}  // namespace nbx
