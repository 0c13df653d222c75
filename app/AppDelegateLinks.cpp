#include <QCheckBox>
#include <cstdlib>
#include <filesystem>

#include "AboutSheet.h"
#include "AppDelegate.h"
#include "Doctor.h"
#include "MainWindow.h"
#include "PrintLaterSheet.h"
#include "ServiceSettings.h"
#include "StateFiles.h"

namespace nbx {

void AppDelegate::clickWebLink() {
    platform_.urls->openURL(bundleInfo["AboutSite"].string().value_or(""));
}

void AppDelegate::clickMoreInfo() {
    platform_.urls->openURL(bundleInfo["AboutSite"].string().value_or("") +
                            "/agree_device_management.html");
}

bool AppDelegate::setupApplicationExists() const {
    std::error_code ec;
    return std::filesystem::exists(sAppFolderPath_ + "Nimbrix Setup.app", ec);
}

void AppDelegate::runNBXSetup(const std::string& mode) {
    if (!setupApplicationExists()) {
        showOnlyAlertMSG("Adding Printer in System Preferences is failed.");
        return;
    }
    const std::string command = "\"" + sAppFolderPath_ +
                                "Nimbrix Setup.app/Contents/MacOS/Nimbrix Setup\" -" +
                                (mode.empty() ? "userchange" : mode);
    inBackground([command] { return std::system(command.c_str()); }, [this](int) { afterSetup(); });
}

void AppDelegate::afterSetup() {
    if (shared_.nCrtFunctionNum == kPrinterTab) {
        detachNewThread([this] { clickRefreshbtn(false); });
    } else if (shared_.nCrtFunctionNum == kSettingTab) {
        actionClickToolbar("Printer");
        settings_->updateSettingsUI();
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

void AppDelegate::clickDiagnose() {
    window_->aboutSheet->showDiagnosing();
    inBackground([] { return doctor::Doctor().run().text(); },
                 [this](const std::string& lines) {
                     window_->aboutSheet->showDiagnosis(QString::fromStdString(lines));
                 });
}

void AppDelegate::showPrintLaterSheet() {
    window_->printLaterSheet->open();
}

void AppDelegate::clickPrinterLaterOKBtn() {
    StateFiles::setPrinterLater(window_->printLaterSheet->dontShowAgain()->isChecked());
    window_->printLaterSheet->hide();
}

// "DirectPrint" stays as stored: the Setting tab saves it by its own means.
void AppDelegate::windowWillClose() {
    terminate();
}

}  // namespace nbx
