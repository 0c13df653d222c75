#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include "AppDelegate.h"
#include "AuthScreen.h"
#include "BackendLink.h"
#include "MainWindow.h"
#include "NBXPrinterQManger.h"
#include "PhoneEntry.h"
#include "PhoneRegistration.h"
#include "PrintTarget.h"
#include "PrinterList.h"
#include "PrinterScreen.h"
#include "PrinterSharing.h"
#include "ServiceSettings.h"
#include "SettingScreen.h"
#include "WizardScreen.h"

namespace nbx {

void AppDelegate::showAuthScreen() {
    shared_.nCrtFunctionNum = kAuthScreen;
    window_->showScreen(window_->authScreen);
}

void AppDelegate::showAddPrinterScreen() {
    shared_.nCrtFunctionNum = kAddPrinterScreen;
    window_->showScreen(window_->addPrinterScreen);
}

void AppDelegate::showSharingPrinterScreen() {
    shared_.nCrtFunctionNum = kSharingPrinterScreen;
    window_->showScreen(window_->sharingPrinterScreen);
}

void AppDelegate::showRegistrationEnableScreen() {
    shared_.nCrtFunctionNum = kRegistrationEnableScreen;
    window_->showScreen(window_->registrationEnableScreen);
}

void AppDelegate::showRegistrationScreen() {
    shared_.nCrtFunctionNum = kRegistrationScreen;
    window_->showScreen(window_->registrationScreen);
}

void AppDelegate::showGuideScreen() {
    shared_.nCrtFunctionNum = kGuideScreen;
    window_->showScreen(window_->guideScreen);
}

// The same guide view as showGuideScreen on purpose.
void AppDelegate::showGuideRegistrationEnableScreen() {
    showGuideScreen();
}

void AppDelegate::showSetting() {
    SettingScreen* settings = window_->settingScreen;
    settings->applyButton()->hide();
    settings->cancelButton()->hide();
    shared_.nCrtFunctionNum = kPrinterTab;
    window_->setToolbarVisible(true);
    settings_->updateSettingsUI();
    window_->selectTab("Printer");
    detachNewThread([this] { refreshSettingThread(); });
    settings->selectSection(0);
}

void AppDelegate::returnToMainWindow() {
    window_->setWizardButtonsVisible(false);
    window_->setTitleViewVisible(false);
    showSetting();
}

void AppDelegate::actionClickToolbar(const QString& tab) {
    shared_.nCrtFunctionNum = tab == "Setting" ? kSettingTab : kPrinterTab;
    window_->selectTab(tab == "Setting" ? "Setting" : "Printer");
    window_->settingScreen->applyButton()->setVisible(tab == "Setting");
    window_->settingScreen->cancelButton()->setVisible(tab == "Setting");
    if (tab == "Contacts") window_->printerScreen->friendEntry()->phoneField()->setFocus();
}

void AppDelegate::nextAction() {
    switch (shared_.nCrtFunctionNum) {
        case kAuthScreen:
            registration_->makeAuthInfoAction();
            return;
        case kAddPrinterScreen:
            if (!NBXPrinterQManger::makePrinterQ()) {
                showOnlyAlertMSG("Adding Printer in System Preferences is failed.");
                return;
            }
            returnToMainWindow();
            return;
        case kPrinterTab:
            printTarget_->recordPrintTarget();
            return;
        case kSettingTab:
            showRefreshWindow("START", true);
            if (window_->settingScreen->registrationCheckBox()->isChecked()) {
                if (sharing_->makeSPInfoDic()) {
                    backend_->connectDistributedNotificatiion();
                } else {
                    log("No registration request for the chosen printer");
                    showRefreshWindow("STOP", false);
                }
                sharing_->ManagedPrinterRegistrationBtn();
            } else {
                backend_->post(PropertyValue::dictionary({{"Command", "StopPolling"}}));
            }
            return;
        default:
            return;
    }
}

void AppDelegate::cancelAction() {
    printTarget_->discardTarget();
    terminate();
}

void AppDelegate::refreshSettingThread() {
    // The polling agent answers the refresh's "GetPolling", so it must be running.
    sharing_->addAgent();
    clickRefreshbtn(false);
    settings_->settingGetPrinterInfo();
}

void AppDelegate::clickRefreshbtnOnMain() {
    log("clickRefreshbtnOnMain");
    detachNewThread([this] { clickRefreshbtn(true); });
}

// The overlay raised here comes down with the back end's answer to "GetPolling" or its
// watchdog, not here.
void AppDelegate::clickRefreshbtn(bool fromButton) {
    log("Refresh information, ui");
    if (!checkMyInfoPlist()) {
        onMainThread([this] {
            shared_.arrSaveAgentList.set(PropertyValue::array());
            window_->printerScreen->reloadPrinters(PropertyValue::array());
            settings_->updateSettingsUI();
            window_->printerScreen->setPlusButton(false, {});
            showAlertSheet("Profile Authenticate Tooltip");
        });
        return;
    }
    showRefreshWindow("START", true);
    const int state = shared_.nCrtFunctionNum;
    if (!fromButton || state == kSettingTab) settings_->refreshSetting();
    if (!fromButton || state == kPrinterTab) printers_->refreshPrinter();
    onMainThread(
        [this] { window_->printerScreen->reloadPrinters(shared_.arrSaveAgentList.get()); });
    settings_->settingGetPrinterInfo();
    onMainThread([this] {
        backend_->post(PropertyValue::dictionary({{"Command", "GetPolling"}}));
    });
}

}  // namespace nbx
