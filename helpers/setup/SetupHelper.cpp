#include "SetupHelper.h"

#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "DistributedNotificationCenter.h"
#include "NBXAuthenticationManger.h"
#include "NotificationHelper.h"
#include "PollingFiles.h"
#include "StateFiles.h"

namespace nbx::setup {

namespace fs = std::filesystem;

bool stopPolling(std::chrono::milliseconds wait, std::string* error) {
    std::string whyNot;
    const auto center = DistributedNotificationCenter::connectSessionBus(&whyNot);
    if (!center) {
        *error = "the polling agent cannot be asked to stop polling: " + whyNot;
        return false;
    }
    std::mutex mutex;
    std::condition_variable answered;
    bool done = false;
    // Any answer will do: a failure only means no printer was shared.
    const int observer =
        center->addObserver(DistributedNotificationCenter::kBackendReply,
                            [&](const std::string&, const PropertyValue& reply) {
                                if (reply["Command"] != PropertyValue("StopPolling")) return;
                                std::lock_guard lock(mutex);
                                done = true;
                                answered.notify_all();
                            });
    const bool sent =
        center->postNotificationName(DistributedNotificationCenter::kBackendRequest,
                                     PropertyValue::dictionary({{"Command", "StopPolling"}}));
    bool replied = false;
    if (sent) {
        std::unique_lock lock(mutex);
        replied = answered.wait_for(lock, wait, [&] { return done; });
    }
    center->removeObserver(observer);
    if (!sent) *error = "the request to stop polling could not be sent";
    if (sent && !replied)
        *error = "the polling agent did not answer the request to stop polling within " +
                 std::to_string(std::chrono::duration_cast<std::chrono::seconds>(wait).count()) +
                 " s";
    return replied;
}

bool userChange(std::ostream& errors) {
    bool ok = true;
    const auto report = [&errors](const std::string& message) {
        errors << "Nimbrix Setup: " << message << "\n";
    };
    std::string error;
    // Unregistering needs the agent's own record of the old identity, so it goes first; without
    // an answer the printer stays registered with the service, but it is no longer served.
    if (notification::agentStatus().running && !stopPolling(kStopPollingWait, &error))
        report(error);
    std::string entryError, agentError;
    if (!notification::removeAutostartEntry(&entryError)) {
        report(entryError);
        ok = false;
    }
    if (!notification::stopAgent(notification::kStopWait, &agentError)) {
        report(agentError);
        ok = false;
    }
    // An agent started later must not serve the old phone's printer.
    polling::PollingFiles::removeRegistration();
    for (const std::string& path :
         {NBXAuthenticationManger::myInfoPath(), StateFiles::pathTo(StateFiles::kAgentListFile)}) {
        std::error_code ec;
        fs::remove(path, ec);
        if (ec) {
            report("cannot remove " + path + ": " + ec.message());
            ok = false;
        }
    }
    return ok;
}

int run(const std::vector<std::string>& args, std::ostream& errors) {
    if (args.size() != 1 || args[0] != "-userchange") {
        errors << kUsage;
        return 2;
    }
    return userChange(errors) ? 0 : 1;
}

}  // namespace nbx::setup
