#pragma once

#include <string>

#include "PropertyValue.h"
#include "SharedState.h"

namespace nbx {

class AppDelegate;

// Sharing a printer attached to this computer: the device picker, the registration request,
// the registration page's controls and the helper that keeps the polling agent running.
// Main thread unless said otherwise.
class PrinterSharing {
public:
    explicit PrinterSharing(AppDelegate& app) : app_(app) {}

    // Runs the picker on a worker; the choice is shown on the main thread.
    void clickSelectPrinter();
    // Fills the back-end request from the chosen printer; false when it cannot be made.
    bool makeSPInfoDic();
    void ManagedPrinterRegistrationBtn();
    // The registration box changed: the picked printer's model and the search button follow it.
    void clickSharingPrinterCheckBox(bool ticked);
    // Leaves the current view for the sharing-printer screen of the wizard.
    void clickChangePrinter();
    void updateAgentInfo();
    // Worker: launch the notification helper and wait for it; "-add" returns once the polling
    // agent listens, so the next request is heard.
    void addAgent();
    void removeAgent();

    // The model an IEEE 1284 device id names; only pieces followed by ";" count.
    static std::string modelOfDeviceID(const std::string& deviceID);
    std::string pickerCommand() const;

    // The picker's choice; replies from the back end replace it too.
    Guarded<PropertyValue> dicRegistSelectPrint;
    bool bPriterSupportNBX = false;

private:
    void showPickedPrinter();
    void runNotificationHelper(const char* argument);

    AppDelegate& app_;
};

}  // namespace nbx
