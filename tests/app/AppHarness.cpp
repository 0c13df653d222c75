#include "AppHarness.h"

#include <QCoreApplication>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "PropertyListFile.h"

namespace nbx::test {

int RecordingAlerts::runModal(const AlertRequest& request) {
    shown.push_back(request);
    if (answers.empty()) return 0;
    const int answer = answers.front();
    answers.pop_front();
    return answer;
}

AppHarness::AppHarness(const char* locale, bool ownScheduler)
    : locale("LC_ALL", locale), helpers("NBX_HELPER_FOLDER", helperFolder().c_str()) {
    std::filesystem::create_directories(helperFolder());
    if (ownScheduler) {
        // Nothing listens there: the queue is simply missing, and the machine's own
        // scheduler is never asked.
        scheduler = std::make_unique<ScopedEnv>("CUPS_SERVER", "127.0.0.1:9");
        schedulerRoot = std::make_unique<ScopedEnv>("CUPS_SERVERROOT", home.path().c_str());
    }
}

AppHarness::~AppHarness() {
    // The controller waits for every worker it started, so none may stay held back.
    runWorkers();
    delegate_.reset();
    drainEvents();
}

AppDelegate& AppHarness::launch(QStringList arguments) {
    AppPlatform platform{alerts,
                         urls,
                         [this] { ++quits; },
                         [this](std::function<void()> work) { workers.push_back(work); },
                         pinValiditySeconds,
                         countdownTick};
    if (realThreads) platform.detach = nullptr;
    delegate_ = std::make_unique<AppDelegate>(std::move(platform));
    arguments.prepend("nimbrix-agent");
    delegate_->applicationDidFinishLaunching(arguments);
    return *delegate_;
}

void AppHarness::runWorkers() {
    auto pending = std::move(workers);
    workers.clear();
    for (auto& work : pending)
        std::thread(work).join();
    drainEvents();
}

void AppHarness::runAllWorkers() {
    while (!workers.empty())
        runWorkers();
}

bool AppHarness::waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void AppHarness::drainEvents() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

std::string AppHarness::userFile(const std::string& name) const {
    return home.appSupportFolder() + "/" + name;
}

void AppHarness::writeUserFile(const std::string& name, const PropertyValue& value) const {
    std::filesystem::create_directories(home.appSupportFolder());
    writePropertyListFile(userFile(name), value);
}

void AppHarness::signIn(const std::string& code, const std::string& phone) const {
    writeUserFile("MyInfo.plist",
                  PropertyValue::dictionary({{"CountryCode", code}, {"PhoneNumber", phone}}));
}

void AppHarness::installSetupApplication() const {
    const std::string folder = helperFolder() + "Nimbrix Setup.app/Contents/MacOS/";
    std::filesystem::create_directories(folder);
    const std::string program = folder + "Nimbrix Setup";
    std::ofstream(program) << "#!/bin/sh\nprintf '%s' \"$*\" > \"" << home.path()
                           << "/setup-arguments\"\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
}

std::string AppHarness::setupArguments() const {
    std::ifstream in(home.path() + "/setup-arguments");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace nbx::test
