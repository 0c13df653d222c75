#pragma once

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

    // The local printer chosen for sharing and the agent quantity, written by workers.
    Guarded<PropertyValue> dicRegistSelectPrint;
    Guarded<PropertyValue> dicGetAgentQuantity;

private:
    AppDelegate& app_;
};

}  // namespace nbx
