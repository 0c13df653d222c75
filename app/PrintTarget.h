#pragma once

#include <QString>
#include <QStringList>
#include <atomic>
#include <optional>
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
    bool isPrintLaunch() const { return !argTargetPlist.empty(); }

    // Decides a direct print from the service's list without any window; nothing for another
    // job. The target may still be open afterwards, unless the program is quitting.
    void printDirectly();
    // Shows the target choice in the main window.
    void launchForJob();
    void showPrintWindow();
    void recordPrintTarget();
    PropertyValue makeSendInfo();
    std::string friendCountryCode();
    // Decides, reconciles and writes the job target file; false when the target is not
    // settled, so the caller puts the job preferences back. (PrintTargetFile.cpp)
    bool writeToTargetPlist();
    // The changed options for a paid printer, after the user accepted them; nothing for any
    // other printer. Refusing quits.
    std::optional<PropertyValue> supportPrintOption(const PropertyValue& agent);
    bool checkSupportPaperSize(const PropertyValue& agent) const;
    bool checkDuplex(const PropertyValue& agent) const;
    static std::string changeValuetoWirteTargetPlist(const std::string& paper);
    // Tell the back end of an option it cannot honour, by state number (1008: the paper).
    // Nothing here calls them: they are the back end's side of the interface.
    static constexpr const char* kErrorName = "com.Valmora.NBX.Error";
    static bool sendBackendNotSupport(int state);
    static bool sendPaperNotSupport();
    static std::string replaceString(std::string text, const std::string& from,
                                     const std::string& to);
    // A cancelled job: the back end reads the missing file as such.
    void discardTarget();

    int argTotalPages = 0;
    std::string argColor, argDueplex, argPaperSize, argCopiesVal, argTargetPlist;
    // Read by the alerts, which may follow a worker's cloud call.
    std::atomic<bool> bAfterCapabilityCheck = false;
    std::atomic<bool> bCapabilityCheckCompleted = false;

private:
    // The target dictionary's common part: the user, the choice and the options asked for.
    PropertyValue targetBase(const PropertyDictionary& myInfo) const;
    bool printerTarget(PropertyValue& target, const PropertyDictionary& sendInfo,
                       const std::string& missingPrinter);
    bool phoneTarget(PropertyValue& target, const PropertyDictionary& sendInfo,
                     const PropertyDictionary& myInfo);
    void alert(const std::string& text);
    void writeTarget(const PropertyValue& target);

    AppDelegate& app_;
    std::string sSystemRegionCode;
};

}  // namespace nbx
