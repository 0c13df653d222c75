#pragma once

#include <atomic>
#include <string>

#include "PropertyValue.h"
#include "SharedState.h"

namespace nbx {

class AppDelegate;

// The Printer tab's list: the user's, friends' and post-office printers, the agent quantity
// and the capabilities of the printer chosen for a job. The list itself lives in the shared
// state, as the refresh and the back-end replies change it too.
class PrinterList {
public:
    explicit PrinterList(AppDelegate& app) : app_(app) {}

    // Worker bodies: they call the cloud and hand widget changes to the main thread.
    bool getAgentPrinterList();
    bool getSupportCapabilitySelectPrinter();
    void refreshPrinter();
    // Main thread.
    void setPlusbtn(bool enable);

    // Main thread: "Printer" selects a row of the printer table, "Friend" one of the friend table.
    void selectPrinterListTableRow(int row, const std::string& table);
    // Blank runs collapsed to one blank, leading and trailing blanks dropped.
    static std::string convertToSendRename(const std::string& name);

    // The agent quantity, written by workers.
    Guarded<PropertyValue> dicGetAgentQuantity;
    // The first list after start may offer the toner window.
    std::atomic<bool> bFirstShow = true;

private:
    AppDelegate& app_;
};

}  // namespace nbx
