#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <filesystem>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "NBXCodeFormatter.h"
#include "NBXPrinterQManger.h"
#include "PhoneEntry.h"
#include "PrinterScreen.h"
#include "PropertyListFile.h"
#include "SettingScreen.h"
#include "WizardScreen.h"

namespace nbx {

void AppDelegate::showAuthScreen() {
    nCrtFunctionNum = 1;
    window_->showScreen(window_->authScreen);
}

// Until the profile page has its own verification sheet, its button walks the registration
// screen, which ends on the screen the start-up checks choose.
void AppDelegate::clickProfileAuthenticate() {
    window_->setToolbarVisible(false);
    window_->setTitleViewVisible(true);
    window_->setWizardButtonsVisible(true);
    showAuthScreen();
}

void AppDelegate::showAddPrinterScreen() {
    nCrtFunctionNum = 2;
    window_->showScreen(window_->addPrinterScreen);
}

void AppDelegate::showSharingPrinterScreen() {
    nCrtFunctionNum = 3;
    window_->showScreen(window_->sharingPrinterScreen);
}

void AppDelegate::showRegistrationEnableScreen() {
    nCrtFunctionNum = 4;
    window_->showScreen(window_->registrationEnableScreen);
}

void AppDelegate::showRegistrationScreen() {
    nCrtFunctionNum = 5;
    window_->showScreen(window_->registrationScreen);
}

void AppDelegate::showGuideScreen() {
    nCrtFunctionNum = 6;
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
    nCrtFunctionNum = 7;
    window_->setToolbarVisible(true);
    updateSettingsUI();
    window_->selectTab("Printer");
    detachNewThread([this] { refreshSettingThread(); });
    settings->selectSection(0);
}

void AppDelegate::actionClickToolbar(const QString& tab) {
    nCrtFunctionNum = tab == "Setting" ? 8 : 7;
    window_->selectTab(tab == "Setting" ? "Setting" : "Printer");
    if (tab == "Contacts") window_->printerScreen->friendEntry()->phoneField()->setFocus();
}

void AppDelegate::nextAction() {
    switch (nCrtFunctionNum) {
        case 1:
            makeAuthInfoAction();
            return;
        case 2:
            if (!NBXPrinterQManger::makePrinterQ()) {
                showOnlyAlertMSG("Adding Printer in System Preferences is failed.");
                return;
            }
            window_->setWizardButtonsVisible(false);
            window_->setTitleViewVisible(false);
            showSetting();
            return;
        case 7:
            recordPrintTarget();
            return;
        case 8:
            showRefreshWindow("START", true);
            if (window_->settingScreen->registrationCheckBox()->isChecked()) {
                if (makeSPInfoDic()) connectDistributedNotificatiion();
                ManagedPrinterRegistrationBtn();
            } else {
                dicUpdateInfo = PropertyValue::dictionary({{"Command", "StopPolling"}});
                connectDistributedNotificatiion();
            }
            return;
        default:
            return;
    }
}

void AppDelegate::cancelAction() {
    if (!argTargetPlist.empty()) {
        std::error_code ec;
        std::filesystem::remove(argTargetPlist, ec);
    }
    terminate();
}

void AppDelegate::recordPrintTarget() {
    std::optional<PropertyValue> untouched;
    PropertyValue working = PropertyValue::dictionary();
    if (checkNBXSaveInfoPlist(false)) {
        untouched = readPropertyListFile(sNBXSaveInfoPath);
        if (untouched && untouched->isDictionary()) working = *untouched;
    }
    working.set("SendInfo", makeSendInfo());
    writePropertyListFile(sNBXSaveInfoPath, working);

    if (!bAfterCapabilityCheck) {
        terminate();
        return;
    }
    log("bAfterCapabilityCheck is TRUE");
    showRefreshWindow("START", true);
    getSupportCapabilitySelectPrinter();
    if (!writeToTargetPlist() && untouched) writePropertyListFile(sNBXSaveInfoPath, *untouched);
    showRefreshWindow("STOP", false);
}

PropertyValue AppDelegate::makeSendInfo() {
    PropertyValue info = PropertyValue::dictionary();
    PrinterScreen* screen = window_->printerScreen;
    const int printerRow = screen->selectedPrinterRow();
    // Row 0 is never a target: a selection there counts as none.
    if (printerRow >= 1 && static_cast<std::size_t>(printerRow) < arrSaveAgentList.size()) {
        const PropertyValue& agent = arrSaveAgentList.at(static_cast<std::size_t>(printerRow));
        info.set("Type", "Printer");
        info.set("isPaidDevice", agent["isPaidDevice"].isTrue());
        if (agent["friendUserId"].isString()) {
            info.set("FirstName", agent["firstName"]);
            info.set("LastName", agent["lastName"]);
            info.set("ModelName", agent["agentModelName"]);
            info.set("FriendUserId", agent["friendUserId"]);
        } else {
            info.set("ModelName", agent["agentAlias"]);
            info.set("MACAddress", agent["agentMacAddress"]);
        }
    } else if (screen->selectedFriendRow() >= 0) {
        info.set("Type", "Friend");
        const std::string code = friendCountryCode();
        const std::string phone = screen->friendEntry()->phoneField()->text().toStdString();
        if (!code.empty() && !phone.empty()) {
            info.set("Code", code);
            info.set(
                "PhoneNumber",
                NBXCodeFormatter::removeLeadingZeros(QString::fromStdString(phone)).toStdString());
        } else {
            info.set("PhoneNumber", "-1");
        }
    } else {
        info.set("Type", "Default");
    }
    return info;
}

std::string AppDelegate::friendCountryCode() {
    std::string code = window_->printerScreen->friendEntry()->codeField()->text().toStdString();
    if (!code.empty()) return code;
    if (sSystemRegionCode.empty()) {
        for (std::size_t i = 0; i < arrCountyCode.size(); ++i) {
            if (arrCountyCode.at(i)["Locale_alpha2"].string() == sSystemRegion) {
                sSystemRegionCode = arrCountyCode.at(i)["Code"].string().value_or("");
                break;
            }
        }
    }
    if (!sSystemRegionCode.empty()) return sSystemRegionCode;
    if (checkMyInfoPlist() && !arrGetuserInfo->empty()) return arrGetuserInfo->front();
    return "";
}

void AppDelegate::refreshSettingThread() {
    clickRefreshbtn(false);
    settingGetPrinterInfo();
}

void AppDelegate::clickRefreshbtnOnMain() {
    log("clickRefreshbtnOnMain");
    detachNewThread([this] { clickRefreshbtn(true); });
}

void AppDelegate::clickRefreshbtn(bool fromButton) {
    log("Refresh information, ui");
    if (!checkMyInfoPlist()) {
        onMainThread([this] {
            arrSaveAgentList = PropertyValue::array();
            window_->printerScreen->reloadPrinters(arrSaveAgentList);
            updateSettingsUI();
            window_->printerScreen->setPlusButton(false, {});
            showAlertSheet("Profile Authenticate Tooltip");
        });
        return;
    }
    showRefreshWindow("START", true);
    const int state = nCrtFunctionNum;
    if (!fromButton || state == 8) refreshSetting();
    if (!fromButton || state == 7) refreshPrinter();
    onMainThread([this] { window_->printerScreen->reloadPrinters(arrSaveAgentList); });
    settingGetPrinterInfo();
    onMainThread([this] {
        dicUpdateInfo = PropertyValue::dictionary({{"Command", "GetPolling"}});
        connectDistributedNotificatiion();
    });
    showRefreshWindow("STOP", false);
}

}  // namespace nbx
