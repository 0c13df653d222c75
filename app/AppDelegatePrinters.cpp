// The printer-list and job-target flows plug in here.
#include "AppDelegate.h"
#include "MainWindow.h"
#include "PrinterScreen.h"

namespace nbx {

bool AppDelegate::getAgentPrinterList() {
    log("Cloud API - Get agent printer list");
    return false;
}

bool AppDelegate::getSupportCapabilitySelectPrinter() {
    log("Cloud API - Get support capability");
    return false;
}

bool AppDelegate::writeToTargetPlist() {
    log("Write target plist");
    return false;
}

void AppDelegate::settingGetPrinterInfo() {}

void AppDelegate::refreshPrinter() {}

void AppDelegate::setPlusbtn(bool enable) {
    window_->printerScreen->setPlusButton(
        enable, localized(enable ? "Select Add Printer Tooltip"
                                 : "Select Add Printer Max Reached Tooltip"));
}

void AppDelegate::ManagedPrinterRegistrationBtn() {}

}  // namespace nbx
