#include <QCheckBox>
#include <cstdlib>
#include <filesystem>

#include "AboutSheet.h"
#include "AppDelegate.h"
#include "MainWindow.h"
#include "PrintLaterSheet.h"
#include "PropertyListFile.h"

namespace nbx {

void AppDelegate::clickWebLink() {
    platform_.urls->openURL(bundleInfo["AboutSite"].string().value_or(""));
}

void AppDelegate::clickMoreInfo() {
    platform_.urls->openURL(bundleInfo["AboutSite"].string().value_or("") +
                            "/agree_device_management.html");
}

bool AppDelegate::setupApplicationExists() const {
    return std::filesystem::exists(sAppFolderPath + "Nimbrix Setup.app");
}

void AppDelegate::runNBXSetup(const std::string& mode) {
    if (!setupApplicationExists()) {
        showOnlyAlertMSG("Adding Printer in System Preferences is failed.");
        return;
    }
    std::system(("\"" + sAppFolderPath + "Nimbrix Setup.app/Contents/MacOS/Nimbrix Setup\" -" +
                 (mode.empty() ? "userchange" : mode))
                    .c_str());
    if (nCrtFunctionNum == 7) {
        clickRefreshbtn(false);
    } else if (nCrtFunctionNum == 8) {
        actionClickToolbar("Printer");
        updateSettingsUI();
        detachNewThread([this] { refreshSettingThread(); });
    }
}

void AppDelegate::clickAbout() {
    window_->aboutSheet->open();
}

void AppDelegate::clickAbout_OKBtn() {
    window_->aboutSheet->hide();
    showRefreshWindow("STOP", false);
}

void AppDelegate::showPrintLaterSheet() {
    window_->printLaterSheet->open();
}

void AppDelegate::clickPrinterLaterOKBtn() {
    PropertyValue info = readPropertyListFile(sMyInfoFilePath).value_or(nullptr);
    if (!info.isDictionary()) info = PropertyValue::dictionary();
    info.set("PrinterLater", window_->printLaterSheet->dontShowAgain()->isChecked());
    writePropertyListFile(sMyInfoFilePath, info);
    window_->printLaterSheet->hide();
}

// "DirectPrint" stays as stored: the Setting tab saves it by its own means.
void AppDelegate::windowWillClose() {
    terminate();
}

}  // namespace nbx
