#pragma once

#include <atomic>

#include "PropertyValue.h"

namespace nbx {

class AppDelegate;
class MainWindow;

// The low-toner offer of the first printer list after start: which of the user's printers run
// low, whether the user silenced the window for a week, and the window itself.
class TonerStatus {
public:
    explicit TonerStatus(AppDelegate& app) : app_(app) {}
    void connectWindow(MainWindow* window);

    // Any thread.
    bool checkTonerInfoShowAgain();
    // The low-toner printers of the saved agent list, in list order.
    PropertyValue getTonerInfo();
    // Main thread: fills the toner table and shows the window as a sheet, or modally while a
    // direct print waits.
    void offerTonerWindow(const PropertyValue& lowPrinters);
    void clickTonerInfoCancelBtn();

    std::atomic<int> nTonerInfoCount = 0;

private:
    AppDelegate& app_;
};

}  // namespace nbx
