#pragma once

#include <QString>
#include <QStringList>
#include <atomic>
#include <string>

#include "PropertyValue.h"

namespace nbx {

class AppDelegate;

// A print job handed over by the back end: the launch arguments, the print-target window, the
// remembered target and the job target file. Main thread only, unless said otherwise.
class PrintTarget {
public:
    explicit PrintTarget(AppDelegate& app) : app_(app) {}

    // Written once at start-up, before any worker.
    void readLaunchArguments(const QStringList& arguments);
    // The value of "<lead><key><value>": the text from position key length + 1, "" when shorter.
    static QString textAfterKey(const QString& argument, const QString& key);
    // Leading integer of a text, 0 when there is none; clamped to int.
    static int integerValue(const QString& text);
    bool isPrintLaunch() const { return !argTargetPlist.empty(); }

    // Shows the target choice, or decides at once for a direct print.
    void launchForJob();
    void showPrintWindow();
    void recordPrintTarget();
    PropertyValue makeSendInfo();
    std::string friendCountryCode();
    bool writeToTargetPlist();
    // A cancelled job: the back end reads the missing file as such.
    void discardTarget();

    int argTotalPages = 0;
    std::string argColor, argDueplex, argPaperSize, argCopiesVal, argTargetPlist;
    // Read by the alerts, which may follow a worker's cloud call.
    std::atomic<bool> bAfterCapabilityCheck = false;
    std::atomic<bool> bCapabilityCheckCompleted = false;

private:
    AppDelegate& app_;
    std::string sSystemRegionCode;
};

}  // namespace nbx
