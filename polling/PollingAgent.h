#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "AgentState.h"
#include "DistributedNotificationCenter.h"
#include "JobPoller.h"
#include "PropertyValue.h"

namespace nbx::polling {

// The agent: answers the application's commands on a worker of its own and runs the polling
// thread while a printer is registered.
class PollingAgent {
public:
    static constexpr const char* kCommandNotification =
        DistributedNotificationCenter::kBackendRequest;
    static constexpr const char* kReplyNotification = DistributedNotificationCenter::kBackendReply;

    using Reply = std::function<void(const PropertyValue& reply)>;

    PollingAgent(Reply reply, Log log);
    ~PollingAgent();
    PollingAgent(const PollingAgent&) = delete;
    PollingAgent& operator=(const PollingAgent&) = delete;

    // Picks up a stored registration and starts both threads.
    void start();
    // Any thread; never waits for the service.
    void submit(const PropertyValue& request);
    // Lets the current step finish, then ends both threads.
    void stop();

    // Runs one command on the calling thread and answers the reply dictionary.
    PropertyValue handle(const PropertyValue& request);

private:
    void work();
    PropertyValue updatePolling(const PropertyValue& request);
    PropertyValue stopPolling();
    PropertyValue getPolling();
    PropertyValue changeAlias(const PropertyValue& request);

    Reply reply_;
    Log log_;
    AgentState state_;
    JobPoller poller_;
    std::mutex mutex_;
    std::condition_variable queued_;
    std::deque<PropertyValue> commands_;
    bool stopping_ = false;
    std::thread worker_;
    std::thread polling_;
};

}  // namespace nbx::polling
