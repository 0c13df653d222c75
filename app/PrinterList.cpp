#include "PrinterList.h"

#include "AppDelegate.h"
#include "MainWindow.h"
#include "PrinterScreen.h"

namespace nbx {

bool PrinterList::getAgentPrinterList() {
    app_.log("Cloud API - Get agent printer list");
    return false;
}

bool PrinterList::getSupportCapabilitySelectPrinter() {
    app_.log("Cloud API - Get support capability");
    return false;
}

void PrinterList::refreshPrinter() {}

void PrinterList::setPlusbtn(bool enable) {
    app_.window()->printerScreen->setPlusButton(
        enable, app_.localized(enable ? "Select Add Printer Tooltip"
                                      : "Select Add Printer Max Reached Tooltip"));
}

}  // namespace nbx
