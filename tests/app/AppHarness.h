#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "AppDelegate.h"
#include "QtTestApp.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx::test {

// Answers alerts from a script (the first button when it runs out) and records them.
class RecordingAlerts : public AlertPresenter {
public:
    int runModal(const AlertRequest& request) override;
    std::vector<AlertRequest> shown;
    std::deque<int> answers;
};

class RecordingUrls : public UrlOpener {
public:
    void openURL(const std::string& url) override { opened.push_back(url); }
    std::vector<std::string> opened;
};

// A controller in a temporary home, English unless told otherwise, with the scheduler pointed
// at a closed port unless a private one is running, and workers held until the test runs them.
class AppHarness {
public:
    explicit AppHarness(const char* locale = "C", bool ownScheduler = true);
    ~AppHarness();

    AppDelegate& launch(QStringList arguments = {});
    AppDelegate& delegate() { return *delegate_; }
    // Runs the workers started so far, each on its own thread, and then the queued main-thread
    // work they handed over.
    void runWorkers();
    static void drainEvents();
    // Runs held workers, and those they start, until none is left.
    void runAllWorkers();
    // Processes main-thread events until the condition holds or the time is up.
    static bool waitFor(const std::function<bool()>& condition,
                        std::chrono::milliseconds limit = std::chrono::seconds(20));

    std::string userFile(const std::string& name) const;
    void signIn(const std::string& code, const std::string& phone) const;
    void writeUserFile(const std::string& name, const PropertyValue& value) const;
    // A setup application that records its arguments in setupArguments().
    void installSetupApplication() const;
    std::string setupArguments() const;
    std::string helperFolder() const { return home.path() + "/helpers/"; }

    QtAppUser app;
    TempHome home;
    ScopedEnv locale;
    ScopedEnv helpers;
    std::unique_ptr<ScopedEnv> scheduler;
    std::unique_ptr<ScopedEnv> schedulerRoot;
    std::shared_ptr<RecordingAlerts> alerts = std::make_shared<RecordingAlerts>();
    std::shared_ptr<RecordingUrls> urls = std::make_shared<RecordingUrls>();
    int quits = 0;
    // Read by launch(): workers on real detached threads instead of held ones, and the PIN
    // countdown.
    bool realThreads = false;
    int pinValiditySeconds = 1800;
    std::chrono::milliseconds countdownTick{1000};
    std::vector<std::function<void()>> workers;

private:
    std::unique_ptr<AppDelegate> delegate_;
};

}  // namespace nbx::test
