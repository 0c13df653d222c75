#pragma once

#include <atomic>
#include <string>

#include "PropertyValue.h"
#include "SharedState.h"

namespace nbx {

class AppDelegate;
class MainWindow;
struct CloudAnswer;

// The Printer tab's list: the user's, friends' and post-office printers, the agent quantity,
// renaming and unlinking a printer and the capabilities of the printer chosen for a job. The
// list itself lives in the shared state, as the refresh and the back-end replies change it too.
class PrinterList {
public:
    explicit PrinterList(AppDelegate& app) : app_(app) {}
    void connectWindow(MainWindow* window);

    // Worker bodies: they call the cloud and hand widget changes to the main thread.
    bool getAgentQuantity();
    bool getAgentPrinterList();
    bool getSupportCapabilitySelectPrinter();
    void refreshPrinter();

    // Main thread. The cloud calls of a rename or an unlink run on a worker; their result is
    // applied to the row that was selected when they started.
    void setPlusbtn(bool enable);
    PropertyValue getSelectedRowInfo() const;
    void updateAgentAlias(const std::string& alias);
    void requestToReleaseAgent();
    void clickPrinterTableView();
    void selectPrinterListTableRow(int row, const std::string& table);
    // This computer's own agent, compared by the first MAC address, case aside.
    bool isOwnAgent(const std::string& macAddress) const;

    // The rows in their fixed order: "My Drive" when the user has agents, the post-office
    // agents, "TitleMyPrinter", the other own agents, then the friends' under their title.
    static PropertyValue arrangeAgentRows(const PropertyValue& agentList,
                                          const PropertyValue& friendAgentList, int agentCount);
    // Blank runs collapsed to one blank, leading and trailing blanks dropped.
    static std::string convertToSendRename(const std::string& name);
    // The name, or "name (n)" for the first n that no alias of the list has, case aside.
    static std::string uniqueAlias(std::string name, const PropertyValue& agents);

    // The agent quantity, written by workers.
    Guarded<PropertyValue> dicGetAgentQuantity;
    // The first list after start may offer the toner window.
    std::atomic<bool> bFirstShow = true;
    std::atomic<int> nPrinterCount = 0;
    std::atomic<int> nFriendCount = 0;

private:
    // Main thread: a failure told to the user, through the list's error handling when
    // `manage`, else as an alert only (rename and unlink must not end a print launch).
    void reportFailure(const CloudAnswer& answer, bool manage);
    void offerToner();

    AppDelegate& app_;
};

}  // namespace nbx
