#pragma once

#include <QDateTime>
#include <atomic>
#include <functional>
#include <memory>

#include "PropertyValue.h"

namespace nbx {

class AppDelegate;
class MainWindow;
class TonerWindow;

// The low-toner offer of the first printer list after start: which of the user's printers run
// low, whether the user silenced the window for a week, and the window itself.
class TonerStatus {
public:
    // The silence time's text, local time.
    static constexpr const char* kTimeFormat = "yyyy-MM-dd HH:mm:ss";
    // Days the window stays silenced after the week box was ticked.
    static constexpr int kSilentDays = 6;

    explicit TonerStatus(AppDelegate& app);
    ~TonerStatus();
    void connectWindow(MainWindow* window);

    // Any thread.
    bool checkTonerInfoShowAgain();
    // The low-toner printers of the saved agent list, in list order.
    PropertyValue getTonerInfo();
    // Main thread: fills the toner table and shows the window as a sheet, or modally while a
    // direct print waits.
    void offerTonerWindow(const PropertyValue& lowPrinters);
    void clickTonerInfoCancelBtn();

    // Whole calendar days from one local time to a later one.
    static int wholeDaysBetween(const QDateTime& from, const QDateTime& to);
    static bool isLowTonerPrinter(const PropertyValue& printer);

    std::atomic<int> nTonerInfoCount = 0;
    // Set before any worker runs; tests move "now".
    std::function<QDateTime()> clock = [] { return QDateTime::currentDateTime(); };

private:
    // The main window's, else one of its own: a direct print runs without the main window.
    TonerWindow* tonerWindow();
    void connectToner(TonerWindow* toner);
    bool directPrintPending() const;
    void storeSilence(bool ticked);

    AppDelegate& app_;
    std::unique_ptr<TonerWindow> own_;
};

}  // namespace nbx
