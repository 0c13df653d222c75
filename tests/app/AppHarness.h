#pragma once

#include <gtest/gtest.h>
#include <QtTest>
#include <QtWidgets>

#include <atomic>
#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "AboutSheet.h"
#include "AlertSheet.h"
#include "AppDelegate.h"
#include "BackendLink.h"
#include "CloudEmulator.h"
#include "DistributedNotificationCenter.h"
#include "MainWindow.h"
#include "NBXConnectManger.h"
#include "NBXPrinterQManger.h"
#include "NBXRefreshView.h"
#include "NBXSendButton.h"
#include "PhoneEntry.h"
#include "PhoneRegistration.h"
#include "PinEntry.h"
#include "PrintLaterSheet.h"
#include "PrintTarget.h"
#include "PrinterScreen.h"
#include "PrivateCupsd.h"
#include "PrivateSessionBus.h"
#include "ProfilePhoneSheet.h"
#include "PropertyListFile.h"
#include "QtTestApp.h"
#include "RenameSheet.h"
#include "ScopedEnv.h"
#include "SettingScreen.h"
#include "TempHome.h"
#include "WizardScreen.h"

namespace nbx::test {

using Texts = std::vector<std::string>;

inline const std::string kPreferences = "com.Valmora.nbx.plist";
inline const std::string kSetup = "Nimbrix Setup";
inline const std::string kQueueFailed = "Adding Printer in System Preferences is failed.";
// What a signed-in refresh tells when no service answers: once for the settings the first
// time, once for the printer list.
inline const std::string kOffline = "Connection failed.";

inline PropertyValue dict(std::initializer_list<PropertyDictionary::Entry> entries) {
    return PropertyValue::dictionary(entries);
}

// A row of the printer list that only names its kind, such as a section title.
inline PropertyValue marker(const char* type) {
    return dict({{"agentType", type}});
}

// Puts the rows in the list and on the Printer tab, as a refresh would.
inline void showRows(AppDelegate& d, const PropertyValue& rows) {
    d.shared().arrSaveAgentList.set(rows);
    d.window()->printerScreen->reloadPrinters(rows);
}

// The row of the country list with this calling code, -1 for none.
inline int countryIndex(AppDelegate& d, const char* code) {
    for (std::size_t i = 0; i < d.arrCountyCode().size(); ++i)
        if (d.arrCountyCode().at(i)["Code"].string() == code) return static_cast<int>(i);
    return -1;
}

// A user record as the cloud emulator is seeded with it.
inline PropertyValue user(const char* code, const char* phone, PropertyDictionary more = {}) {
    PropertyValue record = dict({{"countryCode", code}, {"phoneNumber", phone}});
    for (const auto& [key, value] : more)
        record.set(key, value);
    return record;
}

inline PropertyValue users(std::initializer_list<PropertyValue> records) {
    return dict({{"users", PropertyValue::array(records)}});
}

// The cloud emulator over loopback, the lookup server of every harness made after it.
struct Cloud : CloudEmulator {
    explicit Cloud(const PropertyValue& state = {})
        : CloudEmulator({"--no-token-check", "--quiet"}) {
        EXPECT_TRUE(ok());
        if (!state.isNull()) seed(state);
    }
    // The agent's requests to the operation whose path ends so, lookups left out.
    std::vector<PropertyValue> requestsTo(const std::string& path, const char* method = nullptr) {
        std::vector<PropertyValue> found;
        const PropertyValue all = requests();
        for (std::size_t i = 0; i < all.size(); ++i)
            if (all.at(i)["path"].string().value_or("").ends_with(path) &&
                (!method || all.at(i)["method"].string() == method))
                found.push_back(all.at(i));
        return found;
    }
    ScopedEnv lookup{"NBX_LOOKUP_SERVER", hostPort().c_str()};
};

// Answers alerts from a script (the first button when it runs out) and records them.
struct RecordingAlerts : AlertPresenter {
    int runModal(const AlertRequest& request) override {
        shown.push_back(request);
        if (answers.empty()) return 0;
        const int answer = answers.front();
        answers.pop_front();
        return answer;
    }
    Texts texts() const {
        Texts result;
        for (const auto& alert : shown)
            result.push_back(alert.text);
        return result;
    }
    std::vector<AlertRequest> shown;
    std::deque<int> answers;
};

struct RecordingUrls : UrlOpener {
    void openURL(const std::string& url) override { opened.push_back(url); }
    Texts opened;
};

// Stands in for the polling agent on the harness's private bus: answers each request with the
// reply scripted for its command, else the failure an agent with no printer gives; records the
// requests. A silent one answers nothing.
class ScriptedBackend {
public:
    ScriptedBackend() : center_(DistributedNotificationCenter::connectSessionBus(nullptr)) {
        if (!center_) return;
        center_->addObserver(
            BackendLink::kRequestName,
            [this](const std::string&, const PropertyValue& request) { answer(request); });
    }
    void script(const std::string& command, PropertyValue reply) {
        std::lock_guard lock(mutex_);
        replies_[command] = std::move(reply);
    }
    std::vector<PropertyValue> requests() const {
        std::lock_guard lock(mutex_);
        return requests_;
    }
    std::atomic<bool> silent = false;

private:
    void answer(const PropertyValue& request) {
        const std::string command = request["Command"].string().value_or("");
        PropertyValue reply = PropertyValue::dictionary(
            {{"Command", command}, {"Result", "FAIL"}, {"Reason", "No printer is shared"}});
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(request);
            if (replies_.count(command)) reply = replies_[command];
        }
        if (!silent) center_->postNotificationName(BackendLink::kReplyName, reply);
    }

    mutable std::mutex mutex_;
    std::map<std::string, PropertyValue> replies_;
    std::vector<PropertyValue> requests_;
    std::unique_ptr<DistributedNotificationCenter> center_;
};

// A controller in a temporary home, English unless told otherwise, with the scheduler pointed
// at a closed port unless a private one is running, and workers held until the test runs them.
class AppHarness {
public:
    explicit AppHarness(const char* locale = "C", bool ownScheduler = true)
        : locale_("LC_ALL", locale),
          helpers_("NBX_HELPER_FOLDER", helperFolder().c_str()),
          // A test that wants the cloud points at its emulator; any other is refused at once.
          lookup_("NBX_LOOKUP_SERVER", std::getenv("NBX_LOOKUP_SERVER")
                                           ? std::getenv("NBX_LOOKUP_SERVER")
                                           : "127.0.0.1:1") {
        EXPECT_TRUE(bus) << "no private session bus";
        std::filesystem::create_directories(helperFolder());
        if (!ownScheduler) return;
        // Nothing listens there: the queue is simply missing, and the machine's own
        // scheduler is never asked.
        scheduler_ = std::make_unique<ScopedEnv>("CUPS_SERVER", "127.0.0.1:9");
        schedulerRoot_ = std::make_unique<ScopedEnv>("CUPS_SERVERROOT", home.path().c_str());
    }
    ~AppHarness() {
        // The controller waits for every worker it started, so none may stay held back.
        runWorkers();
        delegate_.reset();
        drainEvents();
    }

    AppDelegate& launch(QStringList arguments = {}) {
        AppPlatform platform{alerts,
                             urls,
                             [this] { ++quits; },
                             [this](std::function<void()> work) { workers.push_back(work); },
                             pinValiditySeconds,
                             countdownTick,
                             backendTick};
        if (realThreads) platform.detach = nullptr;
        delegate_ = std::make_unique<AppDelegate>(std::move(platform));
        arguments.prepend("nimbrix-agent");
        delegate_->applicationDidFinishLaunching(arguments);
        return *delegate_;
    }
    // Ends the controller as quitting does, which waits for its workers.
    void quit() {
        delegate_.reset();
        drainEvents();
    }
    // Runs held workers, each on its own thread, and those they start, until none is left;
    // then the main-thread work they handed over.
    void runWorkers() {
        while (!workers.empty()) {
            auto pending = std::move(workers);
            workers.clear();
            for (auto& work : pending)
                std::thread(work).join();
            drainEvents();
        }
    }
    static void drainEvents() {
        for (int i = 0; i < 3; ++i)
            QCoreApplication::processEvents();
    }
    // Processes main-thread events until the condition holds or the time is up.
    static bool waitFor(const std::function<bool()>& condition,
                        std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }

    std::string userFile(const std::string& name) const {
        return home.appSupportFolder() + "/" + name;
    }
    PropertyValue readUserFile(const std::string& name) const {
        return readPropertyListFile(userFile(name)).value_or(nullptr);
    }
    void writeUserFile(const std::string& name, const PropertyValue& value) const {
        std::filesystem::create_directories(home.appSupportFolder());
        writePropertyListFile(userFile(name), value);
    }
    void signIn(const std::string& code, const std::string& phone) const {
        writeUserFile("MyInfo.plist", dict({{"CountryCode", code}, {"PhoneNumber", phone}}));
    }
    std::string target() const { return home.path() + "/job-target.plist"; }
    QString targetArgument() const { return QString::fromStdString("-nbxtarget:" + target()); }
    // A helper application where the product looks for it: records its arguments for
    // helperArguments(), each ended by "|", then runs `rest`.
    void installHelper(const std::string& name, const std::string& rest = {}) const {
        const std::string program = helperFolder() + name + ".app/Contents/MacOS/" + name;
        std::filesystem::create_directories(std::filesystem::path(program).parent_path());
        std::ofstream(program) << "#!/bin/sh\nprintf '%s|' \"$@\" > \"" << home.path() << "/"
                               << name << "-arguments\"\n"
                               << rest;
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }
    std::string helperArguments(const std::string& name) const {
        std::stringstream text;
        text << std::ifstream(home.path() + "/" + name + "-arguments").rdbuf();
        return text.str();
    }
    std::string helperFolder() const { return home.path() + "/helpers/"; }

    QtAppUser app;
    TempHome home;
    std::unique_ptr<PrivateSessionBus> bus = PrivateSessionBus::start(nullptr);
    ScriptedBackend backend;
    std::shared_ptr<RecordingAlerts> alerts = std::make_shared<RecordingAlerts>();
    std::shared_ptr<RecordingUrls> urls = std::make_shared<RecordingUrls>();
    int quits = 0;
    // Read by launch(): workers on real detached threads instead of held ones, and the PIN
    // countdown.
    bool realThreads = false;
    int pinValiditySeconds = 1800;
    std::chrono::milliseconds countdownTick{1000};
    // The back-end watchdog gives up after 20 of these (120 for a registration).
    std::chrono::milliseconds backendTick{10};
    std::vector<std::function<void()>> workers;

private:
    ScopedEnv locale_;
    ScopedEnv helpers_;
    ScopedEnv lookup_;
    std::unique_ptr<ScopedEnv> scheduler_;
    std::unique_ptr<ScopedEnv> schedulerRoot_;
    std::unique_ptr<AppDelegate> delegate_;
};

// A private scheduler with the built printer description and no queue at first.
class QueueTest : public PrivateCupsdTest {
protected:
    void SetUp() override {
        PrivateCupsdTest::SetUp();
        if (!IsSkipped()) NBXPrinterQManger::removePrinterQ();
    }
    void TearDown() override { NBXPrinterQManger::removePrinterQ(); }
    ScopedEnv ppd{"NBX_PPD_FILE", NBX_BIN_DIR "/../share/nimbrix/ppd/Nimbrix.gz"};
};

}  // namespace nbx::test
