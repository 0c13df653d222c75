// nbx-polling-agent: serves a printer this computer shares through the cloud service.
#include <signal.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "DistributedNotificationCenter.h"
#include "NBXLogger.h"
#include "NBXWebServiceRequest.h"
#include "PollingAgent.h"
#include "PollingFiles.h"
#include "SecretMask.h"

namespace {

constexpr const char* kUsage =
    "usage: nbx-polling-agent [--help]\n"
    "Serves the printer this computer shares through the cloud service: answers the agent\n"
    "application's commands on the session bus, polls the service for jobs sent to the printer\n"
    "and prints them on its local queue. Runs until SIGTERM or SIGINT. One instance per user.\n";

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(kUsage, stdout);
            return 0;
        }
        std::fprintf(stderr, "nbx-polling-agent: unknown argument \"%s\"\n%s", argv[i], kUsage);
        return 2;
    }

    // Signals are taken by sigwait below; every thread started later inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    signal(SIGPIPE, SIG_IGN);

    const nbx::NBXLogger logger("NBXPollingAgent");
    const nbx::polling::Log log = [&logger](const std::string& message) {
        logger.log(message);
        // Level 1 already writes to standard error.
        if (logger.nDebug() != 1)
            std::fprintf(stderr, "nbx-polling-agent: %s\n", nbx::maskSecrets(message).c_str());
    };

    nbx::polling::InstanceLock lock;
    std::string whyNot;
    if (!lock.acquire(nbx::polling::PollingFiles::lockPath(), &whyNot)) {
        log("not started: " + whyNot);
        nbx::NBXLogger::flush();
        return 0;
    }
    nbx::NBXWebServiceRequest::initializeTransport();

    auto center = nbx::DistributedNotificationCenter::connectSessionBus(&whyNot);
    if (!center) log("no session bus, so no commands: " + whyNot);
    nbx::polling::PollingAgent agent(
        [&center, &log](const nbx::PropertyValue& reply) {
            if (!center || !center->postNotificationName(
                               nbx::polling::PollingAgent::kReplyNotification, reply)) {
                log("a reply could not be sent: " + reply.description());
            }
        },
        log);
    int observer = 0;
    if (center) {
        observer =
            center->addObserver(nbx::polling::PollingAgent::kCommandNotification,
                                [&agent](const std::string&, const nbx::PropertyValue& request) {
                                    agent.submit(request);
                                });
    }
    agent.start();
    lock.publishPid(&whyNot);
    log("started");

    // The session's end takes the bus away; without it nobody can reach us, so we go too.
    const timespec second{1, 0};
    int signalNumber;
    while ((signalNumber = sigtimedwait(&stopSignals, nullptr, &second)) < 0) {
        if (center && !center->isConnected()) break;
    }
    log(signalNumber > 0 ? std::string("stopping on ") + strsignal(signalNumber)
                         : std::string("stopping: the session bus is gone"));
    if (center) center->removeObserver(observer);
    // Ends a long poll in flight; the agent finishes its current step and returns.
    nbx::NBXWebServiceRequest::setAbortTransfers(true);
    agent.stop();
    log("stopped");
    nbx::NBXLogger::flush();
    return 0;
}
