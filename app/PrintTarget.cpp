#include "PrintTarget.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <filesystem>
#include <optional>

#include "AppDelegate.h"
#include "LaunchArguments.h"
#include "MainWindow.h"
#include "PhoneEntry.h"
#include "PrinterList.h"
#include "PrinterScreen.h"
#include "PropertyListFile.h"
#include "StateFiles.h"

namespace nbx {

void PrintTarget::readLaunchArguments(const QStringList& arguments) {
    std::vector<std::string> texts;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        texts.push_back(arguments[i].toStdString());
        app_.log("Argument = " + texts.back());
    }
    const LaunchArguments read = LaunchArguments::parse(texts);
    argTotalPages = read.totalPages;
    argColor = read.colorModel;
    argDueplex = read.duplex;
    argPaperSize = read.paperSize;
    argCopiesVal = read.copies;
    argTargetPlist = read.targetPath;
}

void PrintTarget::printDirectly() {
    if (!app_.checkMyInfoPlist() || !StateFiles::isDirectPrint()) return;
    const std::optional<PropertyDictionary> sendInfo = StateFiles::sendInfo();
    // A friend without a number is no target: the user is asked.
    if (!sendInfo ||
        ((*sendInfo)["Type"].string() == "Friend" && (*sendInfo)["PhoneNumber"].string() == "-1")) {
        return;
    }
    bAfterCapabilityCheck = false;
    app_.printers().getAgentPrinterList();
    app_.printers().getSupportCapabilitySelectPrinter();
    writeToTargetPlist();
}

void PrintTarget::launchForJob() {
    PrinterScreen* screen = app_.window()->printerScreen;
    if (!app_.checkMyInfoPlist()) {
        screen->nextButton()->setEnabled(false);
    } else {
        // Also a direct print that left its target open: the user picks another.
        screen->popupCheckBox()->setChecked(StateFiles::isDirectPrint());
    }
    showPrintWindow();
}

void PrintTarget::showPrintWindow() {
    MainWindow* w = app_.window();
    bAfterCapabilityCheck = true;
    w->setSettingsTabVisible(false);
    w->printerScreen->popupCheckBox()->show();
    w->printerScreen->nextButton()->show();
    w->printerScreen->cancelButton()->show();
    w->setWindowFlag(Qt::WindowStaysOnTopHint, true);
    w->show();
    w->raise();
    w->activateWindow();
}

void PrintTarget::recordPrintTarget() {
    const std::string path = StateFiles::pathTo(StateFiles::kJobPreferenceFile);
    std::optional<PropertyValue> untouched;
    PropertyValue working = PropertyValue::dictionary();
    if (app_.checkNBXSaveInfoPlist(false)) {
        untouched = readPropertyListFile(path);
        if (untouched && untouched->isDictionary()) working = *untouched;
    }
    working.set("SendInfo", makeSendInfo());
    writePropertyListFile(path, working);

    if (!bAfterCapabilityCheck) {
        app_.terminate();
        return;
    }
    app_.log("bAfterCapabilityCheck is TRUE");
    app_.showRefreshWindow("START", true);
    app_.printers().getSupportCapabilitySelectPrinter();
    // From here a service error leaves the window up for another choice instead of quitting.
    bCapabilityCheckCompleted = true;
    if (!writeToTargetPlist() && untouched) writePropertyListFile(path, *untouched);
    app_.showRefreshWindow("STOP", false);
}

PropertyValue PrintTarget::makeSendInfo() {
    PropertyValue info = PropertyValue::dictionary();
    PrinterScreen* screen = app_.window()->printerScreen;
    const int printerRow = screen->selectedPrinterRow();
    const PropertyValue agents = app_.shared().arrSaveAgentList.get();
    // Row 0 is never a target: a selection there counts as none.
    if (printerRow >= 1 && static_cast<std::size_t>(printerRow) < agents.size()) {
        const PropertyValue& agent = agents.at(static_cast<std::size_t>(printerRow));
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
            info.set("PhoneNumber", NBXConnectManger::removeLeadingZeros(phone));
        } else {
            info.set("PhoneNumber", "-1");
        }
    } else {
        info.set("Type", "Default");
    }
    return info;
}

std::string PrintTarget::friendCountryCode() {
    std::string code =
        app_.window()->printerScreen->friendEntry()->codeField()->text().toStdString();
    if (!code.empty()) return code;
    if (sSystemRegionCode.empty()) {
        const PropertyValue& countries = app_.arrCountyCode();
        for (std::size_t i = 0; i < countries.size(); ++i) {
            if (countries.at(i)["Locale_alpha2"].string() == app_.sSystemRegion()) {
                sSystemRegionCode = countries.at(i)["Code"].string().value_or("");
                break;
            }
        }
    }
    if (!sSystemRegionCode.empty()) return sSystemRegionCode;
    app_.checkMyInfoPlist();
    const SenderIdentity user = app_.shared().arrGetuserInfo.get();
    return user ? (*user)[0] : "";
}

void PrintTarget::discardTarget() {
    if (!isPrintLaunch()) return;
    std::error_code ec;
    std::filesystem::remove(argTargetPlist, ec);
}

}  // namespace nbx
