#include "PrinterList.h"

#include "AppDelegate.h"
#include "MainWindow.h"
#include "PrinterScreen.h"

#include <QListWidget>

#include "PhoneEntry.h"

namespace nbx {

bool PrinterList::getAgentPrinterList() {
    app_.log("Cloud API - Get agent printer list");
    return false;
}

bool PrinterList::getSupportCapabilitySelectPrinter() {
    app_.log("Cloud API - Get support capability");
    return false;
}

// The cloud's own list comes later; until then the list starts empty, so the back end's reply
// can put this computer's printer in it.
void PrinterList::refreshPrinter() {
    app_.shared().arrSaveAgentList.set(PropertyValue::array());
    app_.onMainThread([this] { setPlusbtn(true); });
}

void PrinterList::selectPrinterListTableRow(int row, const std::string& table) {
    PrinterScreen* screen = app_.window()->printerScreen;
    const bool friendTable = table == "Friend";
    (friendTable ? screen->printerTable() : screen->friendTable())->clearSelection();
    screen->friendEntry()->setVisible(friendTable);
    (friendTable ? screen->friendTable() : screen->printerTable())->setCurrentRow(row);
}

std::string PrinterList::convertToSendRename(const std::string& name) {
    std::string result;
    for (char c : name) {
        if (c == ' ' && (result.empty() || result.back() == ' ')) continue;
        result += c;
    }
    if (!result.empty() && result.back() == ' ') result.pop_back();
    return result;
}

void PrinterList::setPlusbtn(bool enable) {
    app_.window()->printerScreen->setPlusButton(
        enable, app_.localized(enable ? "Select Add Printer Tooltip"
                                      : "Select Add Printer Max Reached Tooltip"));
}

}  // namespace nbx
