#include "PollingCheck.h"

#include <condition_variable>
#include <mutex>
#include <optional>

#include "Configuration.h"
#include "DistributedNotificationCenter.h"
#include "PollingFiles.h"

namespace nbx::doctor {

namespace {

using Center = DistributedNotificationCenter;

// The agent's reply to "GetPolling", or nothing when none came in time. Asked twice: a signal
// posted while an agent that just started is still subscribing reaches no one.
std::optional<PropertyValue> askAgent(Center& center, std::chrono::milliseconds wait) {
    std::mutex mutex;
    std::condition_variable arrived;
    std::optional<PropertyValue> reply;
    const int token = center.addObserver(Center::kBackendReply,
                                         [&](const std::string&, const PropertyValue& info) {
                                             if (info["Command"] != PropertyValue("GetPolling"))
                                                 return;
                                             const std::lock_guard lock(mutex);
                                             reply = info;
                                             arrived.notify_all();
                                         });
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!center.postNotificationName(Center::kBackendRequest,
                                         PropertyValue::dictionary({{"Command", "GetPolling"}})))
            break;
        std::unique_lock lock(mutex);
        if (arrived.wait_for(lock, wait / 2, [&] { return reply.has_value(); })) break;
    }
    center.removeObserver(token);
    return reply;
}

}  // namespace

CheckResult PollingCheck::run(std::chrono::milliseconds replyWait) {
    const auto registration = polling::PollingFiles::loadRegistration();
    if (!registration)
        return CheckResult::pass("polling", "not needed: this computer shares no printer");
    const std::string shared =
        "this computer shares \"" + registration->alias + "\" (" + registration->agentId + ")";
    std::string whyNot;
    const auto center = Center::connectSessionBus(&whyNot);
    if (!center)
        return CheckResult::fail("polling",
                                 shared + " but the session bus cannot be reached: " + whyNot,
                                 "run Nimbrix inside a desktop session (DBUS_SESSION_BUS_ADDRESS)");
    const auto reply = askAgent(*center, replyWait);
    if (!reply)
        return CheckResult::fail("polling", shared + " but its polling agent does not answer",
                                 "open Nimbrix, which starts the agent, or start " +
                                     Configuration::pollingAgentProgram());
    if ((*reply)["Result"] != PropertyValue("SUCCESS"))
        return CheckResult::fail("polling",
                                 shared + " but its polling agent serves none (" +
                                     (*reply)["Reason"].string().value_or("no reason given") + ")",
                                 "share the printer again in Nimbrix (Settings)");
    return CheckResult::pass("polling", shared + "; its polling agent answers");
}

}  // namespace nbx::doctor
